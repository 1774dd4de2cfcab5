/// bench-editor: what open editors cost beside GL, two builds of the plug-in side by side.
///
/// A pair of tracks that play and duck each other a build, all their editors open at once, so that
/// the machine's moods meet all of them. Printed is the processor time of an editor's thread a
/// frame, drawn or not, with its waits for the X server: median, least and most of the rounds.
#include "bench/plugin/EditorWindows.h"
#include "bench/plugin/WithoutGl.h"
#include "host/Library.h"
#include "host/Params.h"
#include "host/PrivateShm.h"
#include "plugin/Parameters.h"
#include "tests/support/Eventually.h"
#include "tests/support/Signals.h"
#include "tests/support/Track.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <set>
#include <thread>

namespace {

constexpr double kRate = 48000.0;
constexpr std::uint32_t kBlock = 256;
constexpr std::chrono::nanoseconds kPeriod{static_cast<int>(1e9 * kBlock / kRate)};

/// Processor time so far, µs.
double timeOf(pid_t thread) {
    double ns = 0.0;
    std::ifstream("/proc/self/task/" + std::to_string(thread) + "/schedstat") >> ns;
    return ns / 1000.0;
}

/// An instance that plays noise, a block at a time.
class Track {
public:
    Track(const host::Library& library, unsigned seed)
        : instance(library, callbacks), sound(support::noise(48000, 0.4, seed)) {
        if (!instance.init() || !instance.activate(kRate, 1, kBlock) || !instance.startProcessing())
            throw host::HostError("no instance");
    }
    void play() {
        for (std::uint32_t i = 0; i < kBlock; ++i, at = (at + 1) % sound.size()) {
            audio.input().set(0, i, sound.left[at]);
            audio.input().set(1, i, sound.right[at]);
        }
        instance.process(audio, kBlock);
    }

    host::HostCallbacks callbacks;
    host::Instance instance;

private:
    support::Stereo sound;
    std::size_t at = 0;
    host::AudioBuffers audio{kBlock, host::SampleFormat::Float64};
};

/// A build of the plug-in: a pair of its instances and their editors.
class Build {
public:
    Build(const std::string& file, int y) : library(file) {
        shm::RegistryMonitor registry;
        const std::vector<shm::SlotSnapshot> slots = support::activeSlots();
        if (!registry.Attach() || slots.size() % 2 != 0 ||
            !registry.Pair(slots[slots.size() - 2].id, slots.back().id))
            throw host::HostError("the registry refuses a pairing");
        const auto before = bench::drawingThreads();
        windows.emplace(std::vector{&tracks[0].instance, &tracks[1].instance}, y);
        if (!support::eventually([&] {
                threads = bench::drawingThreads();
                for (const pid_t thread : before)
                    threads.erase(thread);
                return threads.size() == windows->count();
            }))
            throw host::HostError("the editors draw nothing");
    }
    void play() {
        for (Track& track : tracks)
            track.play();
    }

    struct Sum {
        double us = 0.0;
        long frames = 0;
    };
    /// Of both editors, so far.
    [[nodiscard]] Sum sum() const {
        Sum all;
        for (const pid_t thread : threads) {
            all.us += timeOf(thread);
            all.frames += bench::framesDrawnBy(thread);
        }
        return all;
    }

private:
    host::Library library;
    std::array<Track, 2> tracks{Track(library, 1), Track(library, 2)};
    std::optional<bench::EditorWindows> windows;
    std::set<pid_t> threads;
};

/// Of one situation and build: what a look of an editor takes, µs, and how many looks were drawn.
struct Round {
    double us;
    double drawnPercent;
};

/// All builds for a while, with sound or in silence.
std::vector<Round> measure(std::vector<std::unique_ptr<Build>>& builds, bool playing,
                           std::chrono::seconds length) {
    constexpr double kLooksPerSecond = 60.0;
    std::vector<Build::Sum> before;
    before.reserve(builds.size());
    for (const auto& build : builds)
        before.push_back(build->sum());
    const auto now = &std::chrono::steady_clock::now;
    auto due = now();
    for (const auto end = due + length; due < end; due = std::max(due + kPeriod, now())) {
        std::this_thread::sleep_until(due);
        for (const auto& build : builds)
            if (playing)
                build->play();
    }
    std::vector<Round> rounds;
    rounds.reserve(builds.size());
    for (std::size_t i = 0; i < builds.size(); ++i) {
        const auto [us, frames] = builds[i]->sum();
        const double looks = 2.0 * kLooksPerSecond * static_cast<double>(length.count());
        rounds.push_back({(us - before[i].us) / looks,
                          100.0 * static_cast<double>(frames - before[i].frames) / looks});
    }
    return rounds;
}

void print(const char* what, std::vector<double> values, const char* format) {
    std::ranges::sort(values);
    std::printf("%s", what);
    std::printf(format, values[values.size() / 2], values.front(), values.back());
}

void report(const char* situation, const std::vector<std::vector<Round>>& rounds) {
    const auto each = [&](auto&& value) {
        std::vector<double> values;
        values.reserve(rounds.size());
        for (const auto& round : rounds)
            values.push_back(value(round));
        return values;
    };
    for (std::size_t build = 0; build < rounds.front().size(); ++build) {
        std::printf("%-8s build %zu ", situation, build + 1);
        print("", each([&](const auto& round) { return round[build].us; }),
              "%6.1f (%.1f to %.1f) µs a frame");
        print(", ", each([&](const auto& round) { return round[build].drawnPercent; }),
              "%.0f %% drawn");
        if (build > 0)
            print(", ", each([&](const auto& round) { return round[build].us / round[0].us; }),
                  "%.3f (%.3f to %.3f) of build 1");
        std::puts("");
    }
}

int runProgram(int argc, char** argv) {
    CLI::App app("What open editors cost beside GL");
    std::vector<std::string> files{TD_PLUGIN_PATH};
    int rounds = 5, seconds = 2;
    app.add_option("FILE", files, "Builds of the plug-in (this one)");
    app.add_option("--rounds", rounds, "How often each is measured");
    app.add_option("--seconds", seconds, "Length of a round");
    CLI11_PARSE(app, argc, argv);
    if (!host::enterPrivateShm())
        throw std::runtime_error("no private registry: run as root or allow user namespaces");
    std::vector<std::unique_ptr<Build>> builds;
    builds.reserve(files.size());
    for (const std::string& file : files)
        builds.push_back(std::make_unique<Build>(file, 600 * static_cast<int>(builds.size())));
    for (const bool playing : {true, false}) {
        constexpr std::chrono::seconds kSettling{2};
        static_cast<void>(measure(builds, playing, kSettling));
        std::vector<std::vector<Round>> all;
        all.reserve(static_cast<std::size_t>(rounds));
        for (int round = 0; round < rounds; ++round)
            all.push_back(measure(builds, playing, std::chrono::seconds(seconds)));
        report(playing ? "sound" : "silence", all);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return runProgram(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench-editor: %s\n", error.what());
        return 1;
    }
}
