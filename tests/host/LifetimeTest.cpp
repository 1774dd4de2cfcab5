#include "tests/host/Track.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <malloc.h>
#include <memory>
#include <random>
#include <thread>

namespace {

using support::Stereo;
using support::Track;

constexpr double kRate = 48000.0;

/// What a process owns that an instance could leave behind.
struct Footprint {
    std::size_t heapBytes = 0, threads = 0, descriptors = 0, mappings = 0;
};

std::size_t entries(const char* folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

std::size_t linesWith(const std::string& path, const std::string& text) {
    std::ifstream file(path);
    std::size_t count = 0;
    for (std::string line; std::getline(file, line);)
        count += line.find(text) != std::string::npos;
    return count;
}

Footprint measure() {
    malloc_trim(0);
    return {mallinfo2().uordblks, entries("/proc/self/task"), entries("/proc/self/fd"),
            linesWith("/proc/self/maps", "")};
}

/// A whole life that fills the output rings and ends while processing.
void live(Track& track) {
    track.start(kRate);
    const Stereo out = track.play(support::noise(8192, 0.5, 21), 512);
    EXPECT_GT(rms(out), 0.1);
}

void loadLiveUnload() {
    Track track;
    live(track);
}

TEST(Lifetime, AHundredLoadsAndUnloadsLeaveNothingBehind) {
    Footprint before;
    for (int warmUp = 0; warmUp < 20; ++warmUp) {
        loadLiveUnload();
        before = measure();
    }
    for (int round = 0; round < 100; ++round)
        loadLiveUnload();
    const Footprint after = measure();
    const auto growth = [](std::size_t from, std::size_t to) {
        return static_cast<std::ptrdiff_t>(to) - static_cast<std::ptrdiff_t>(from);
    };
    EXPECT_LE(growth(before.threads, after.threads), 0);
    EXPECT_LE(growth(before.descriptors, after.descriptors), 0);
#ifndef TD_SANITIZED // a sanitizer keeps freed memory on purpose
    // Caches of freed blocks still come and go by some hundred bytes; a leak comes a hundredfold.
    EXPECT_LT(growth(before.heapBytes, after.heapBytes), 3000);
    EXPECT_LE(growth(before.mappings, after.mappings), 2) << "one leak a round would be a hundred";
#endif
    EXPECT_EQ(linesWith("/proc/self/maps", "TessellaDuckwork.clap"), 0U) << "still mapped";
    RecordProperty("heapGrowth", std::to_string(growth(before.heapBytes, after.heapBytes)));
    RecordProperty("mapGrowth", std::to_string(growth(before.mappings, after.mappings)));
}

TEST(Lifetime, DestructionNeverWaitsForTheHeartbeat) {
    std::vector<std::unique_ptr<Track>> tracks;
    for (int i = 0; i < 12; ++i)
        tracks.push_back(std::make_unique<Track>());
    std::minstd_rand random(6);
    std::chrono::duration<double> longest{};
    while (!tracks.empty()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 300));
        const auto start = std::chrono::steady_clock::now();
        tracks.pop_back();
        longest = std::max<std::chrono::duration<double>>(longest,
                                                          std::chrono::steady_clock::now() - start);
    }
    // It takes up to 0.1 s; a heartbeat has 3 s. The rest is for a machine under load.
    EXPECT_LT(longest.count(), 2.0);
    RecordProperty("longestSeconds", std::to_string(longest.count()));
}

struct Host {
    const char* name;
    void (*configure)(host::HostCallbacks&);
};

class PoorHost : public testing::TestWithParam<Host> {};

TEST_P(PoorHost, GetsAWorkingInstance) {
    const auto library = support::plugin();
    host::HostCallbacks callbacks;
    GetParam().configure(callbacks);
    host::Instance instance(*library, callbacks);
    ASSERT_TRUE(instance.init());
    ASSERT_TRUE(instance.activate(kRate, 1, 256) && instance.startProcessing());
    host::AudioBuffers audio(256);
    audio.input().fill(0.25);
    for (int block = 0; block < 16; ++block)
        EXPECT_EQ(instance.process(audio, 256), CLAP_PROCESS_CONTINUE);
    EXPECT_NEAR(audio.output().get(0, 255), 0.25, 1e-6);
    instance.pumpMainThread();
}

INSTANTIATE_TEST_SUITE_P(
    hosts, PoorHost,
    testing::Values(Host{"withoutExtensions", [](host::HostCallbacks& c) { c.withholdAll(); }},
                    Host{"withEmptyExtensions",
                         [](host::HostCallbacks& c) {
                             for (const char* id :
                                  {CLAP_EXT_LOG, CLAP_EXT_THREAD_CHECK, CLAP_EXT_PARAMS,
                                   CLAP_EXT_STATE, CLAP_EXT_LATENCY, CLAP_EXT_TAIL})
                                 c.offerPartial(id);
                         }}),
    [](const auto& row) { return std::string(row.param.name); });

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
