#include "tests/support/Test.h"
#include "tests/support/Track.h"

#include <dlfcn.h>
#include <malloc.h>

namespace {

/// What a process owns that an instance could leave behind.
struct Footprint {
    std::ptrdiff_t heapBytes, threads, descriptors, mappings;
};

std::ptrdiff_t entries(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

std::ptrdiff_t mappingsOf(const std::string& name) {
    std::ifstream maps("/proc/self/maps");
    std::ptrdiff_t count = 0;
    for (std::string line; std::getline(maps, line);)
        count += line.find(name) != std::string::npos;
    return count;
}

/// Loads the plug-in, fills its output rings, ends while processing and unloads, time and again.
class Lifetime : public testing::Test {
protected:
    Footprint after(int rounds) {
        for (; rounds > 0 && !HasFailure(); --rounds) {
            auto begin = Clock::now();
            {
                Track track;
                fastestScan = std::min(fastestScan, Clock::now() - begin);
                track.start(48000.0);
                EXPECT_GT(rms(track.play(support::noise(8192, 0.5, 21), 512)), 0.1);
                begin = Clock::now();
            }
            slowEnds += Clock::now() - begin > 1s ? 1 : 0;
        }
        malloc_trim(0);
        return {static_cast<std::ptrdiff_t>(mallinfo2().uordblks), entries("/proc/self/task"),
                entries("/proc/self/fd"), mappingsOf("")};
    }
    Clock::duration fastestScan = 1h; ///< from load to init: others may hold the machine up
    int slowEnds = 0;
};

TEST_F(Lifetime, IsQuickToScanAndLeavesNothingBehind) {
    after(10);       // with all libraries that it needs
#ifndef TD_SANITIZED // a sanitizer takes its time, and keeps freed memory on purpose
    EXPECT_LT(fastestScan, 100ms);
#endif
    // Some libraries keep a few bytes at each load, whoever loads them: they stay loaded.
    for (const char* name : {"libGL.so.1", "libX11.so.6", "libXcursor.so.1", "libfontconfig.so.1"})
        ASSERT_NE(dlopen(name, RTLD_NOW), nullptr) << name;
    const Footprint warm = after(10);
    const Footprint old = after(50);
    EXPECT_LT(slowEnds, 5) << "a heartbeat has 3 s and is not waited for";
    EXPECT_LE(old.threads, warm.threads);
    EXPECT_LE(old.descriptors, warm.descriptors);
#ifndef TD_SANITIZED
    // Caches of freed blocks still come and go by some hundred bytes; a leak comes a hundredfold.
    EXPECT_LT(old.heapBytes, warm.heapBytes + 4000);
    EXPECT_LE(old.mappings, warm.mappings + 2) << "one leak a round would be fifty";
#endif
    EXPECT_EQ(mappingsOf("TessellaDuckwork.clap"), 0) << "still mapped";
}

} // namespace
