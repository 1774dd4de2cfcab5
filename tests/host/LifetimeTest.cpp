#include "tests/host/Track.h"

#include <chrono>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <malloc.h>
#include <thread>

namespace {

using support::Stereo;
using support::Track;

constexpr double kRate = 48000.0;

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

/// A whole life that fills the output rings and ends while processing.
void live(Track& track) {
    track.start(kRate);
    const Stereo out = track.play(support::noise(8192, 0.5, 21), 512);
    EXPECT_GT(rms(out), 0.1);
}

Footprint afterLoads(int rounds) {
    for (; rounds > 0; --rounds) {
        Track track;
        live(track);
    }
    malloc_trim(0);
    return {static_cast<std::ptrdiff_t>(mallinfo2().uordblks), entries("/proc/self/task"),
            entries("/proc/self/fd"), mappingsOf("")};
}

/// Some libraries of the system keep a few bytes at each load, whoever loads them: not to be
/// counted here, they stay loaded.
void keepSystemLibraries() {
    for (const char* name : {"libGL.so.1", "libX11.so.6", "libXcursor.so.1", "libfontconfig.so.1"})
        ASSERT_NE(dlopen(name, RTLD_NOW), nullptr) << name;
}

TEST(Lifetime, AHundredLoadsAndUnloadsLeaveNothingBehind) {
    keepSystemLibraries();
    const Footprint before = afterLoads(20); // warmed up
    const Footprint after = afterLoads(100);
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.descriptors, before.descriptors);
#ifndef TD_SANITIZED // a sanitizer keeps freed memory on purpose
    // Caches of freed blocks still come and go by some hundred bytes; a leak comes a hundredfold.
    EXPECT_LT(after.heapBytes, before.heapBytes + 4000);
    EXPECT_LE(after.mappings, before.mappings + 2) << "one leak a round would be a hundred";
#endif
    EXPECT_EQ(mappingsOf("TessellaDuckwork.clap"), 0) << "still mapped";
    RecordProperty("heapGrowth", std::to_string(after.heapBytes - before.heapBytes));
}

TEST(Lifetime, DestructionNeverWaitsForTheHeartbeat) {
    // Each takes up to 0.1 s; a heartbeat has 3 s. The rest is for a machine under load.
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 5; ++i) {
        const Track track;
        std::this_thread::sleep_for(std::chrono::milliseconds(20 * i));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST(Lifetime, InstancesOutliveTheEntrysDeinitAndInitOfOthers) {
    const auto library = support::plugin();
    const clap_plugin_entry_t& entry = library->entry();
    ASSERT_TRUE(entry.init("again"));
    Track first;
    Track second;
    const clap_plugin_descriptor_t* const freed = library->descriptor();
    entry.deinit();
    const host::HostCallbacks callbacks;
    const auto create = [&] {
        return library->factory().create_plugin(&library->factory(), callbacks.record(),
                                                "com.Orlavenko.TessellaDuckwork");
    };
    EXPECT_EQ(create(), nullptr) << "no instance without a descriptor";
    EXPECT_EQ(library->descriptor(), nullptr);
    EXPECT_NE(first.instance.plugin()->desc, freed) << "an instance needs a copy";
    EXPECT_STREQ(first.instance.plugin()->desc->id, "com.Orlavenko.TessellaDuckwork");
    live(first);

    ASSERT_TRUE(entry.init("once more"));
    live(second);
    Track third;
    live(third);
}

} // namespace
