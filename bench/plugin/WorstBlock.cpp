/// bench-worst: how long blocks of a pair can take on a busy machine; with --missed-locks, what
/// busy locks cost sixteen. JSON to standard output.
#include "bench/plugin/EditorWindows.h"
#include "bench/plugin/MissedLocks.h"
#include "bench/plugin/Player.h"
#include "host/PrivateShm.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <pthread.h>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kRate = 48000.0;
constexpr std::uint32_t kFrames = 64;
constexpr std::chrono::nanoseconds kPeriod{static_cast<int>(1e9 * kFrames / kRate)};

float microsecondsSince(Clock::time_point start) {
    return std::chrono::duration<float, std::micro>(Clock::now() - start).count();
}

/// Keeps every core busy with arithmetic on more memory than a cache holds.
class Load {
public:
    Load() {
        for (unsigned core = 0; core < std::thread::hardware_concurrency(); ++core)
            threads.emplace_back([this] {
                std::vector<double> memory(1U << 22U, 1.0);
                while (!stop)
                    for (double& value : memory)
                        value = value * 1.0001 + 1e-9;
            });
    }
    ~Load() {
        stop = true;
        for (std::thread& thread : threads)
            thread.join();
    }
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;

private:
    std::atomic<bool> stop = false;
    std::vector<std::thread> threads;
};

/// The block of an empty host: arithmetic alone, without memory, lock or call.
void spin(int turns) {
    for (volatile int turn = 0; turn < turns;)
        turn = turn + 1;
}

/// Times of each kind of block, µs, and of its coming late.
struct Times {
    std::vector<float> plugin, empty, late;
};

double quantile(std::vector<float> times, double part) {
    const auto at = static_cast<std::ptrdiff_t>(part * static_cast<double>(times.size() - 1));
    std::ranges::nth_element(times, times.begin() + at);
    return times[static_cast<std::size_t>(at)];
}

/// As a host with a sound card: each period a block of both instances, and half a period later an
/// empty one that takes as long. What hits the empty blocks is the machine's doing.
class AudioLoop {
public:
    explicit AudioLoop(bench::Rack& played) : rack(played) {}

    /// Plays a while to make the empty block as long as the others are here and now.
    void adjust() {
        const Times times = run(std::chrono::seconds(5));
        turns = static_cast<int>(turns * quantile(times.plugin, 0.5) / quantile(times.empty, 0.5));
    }

    /// One audio thread, with a host's priority where that is permitted.
    Times run(std::chrono::seconds length) {
        const auto periods = static_cast<std::size_t>(length / kPeriod);
        Times times;
        for (auto* kind : {&times.plugin, &times.empty, &times.late})
            kind->resize(periods);
        std::thread([&] { loop(times); }).join();
        return times;
    }
    [[nodiscard]] bool hadPriority() const { return priorityGranted; }

private:
    void loop(Times& times) {
        const sched_param priority{.sched_priority = 50};
        priorityGranted = pthread_setschedparam(pthread_self(), SCHED_FIFO, &priority) == 0;
        auto due = Clock::now() + kPeriod;
        std::uint32_t at = 0;
        for (std::size_t i = 0; i < times.plugin.size(); ++i, due += kPeriod) {
            std::this_thread::sleep_until(due);
            times.late[i] = microsecondsSince(due);
            const auto start = Clock::now();
            rack[0].block(at, kFrames);
            rack[1].block(at, kFrames);
            times.plugin[i] = microsecondsSince(start);
            at = (at + kFrames) % bench::kLapFrames;
            std::this_thread::sleep_until(due + kPeriod / 2);
            const auto emptyStart = Clock::now();
            spin(turns);
            times.empty[i] = microsecondsSince(emptyStart);
        }
    }

    bench::Rack& rack;
    int turns = 1000;
    bool priorityGranted = false;
};

nlohmann::json distribution(const std::vector<float>& times) {
    return {{"p50", quantile(times, 0.5)},
            {"p99", quantile(times, 0.99)},
            {"p99.99", quantile(times, 0.9999)},
            {"most", quantile(times, 1.0)}};
}

void play(std::chrono::seconds length) {
    bench::Rack rack(2);
    rack.setPaired(true);
    rack.start(2, kRate, kFrames);
    AudioLoop audio(rack);
    const bench::EditorWindows editors({&rack[0].instance(), &rack[1].instance()});
    const Load load;
    audio.adjust();
    const Times times = audio.run(length);
    std::puts(nlohmann::json{{"seconds", length.count()},
                             {"blocks", times.plugin.size()},
                             {"frames", kFrames},
                             {"editors", editors.count()},
                             {"priority", audio.hadPriority()},
                             {"plugin_us", distribution(times.plugin)},
                             {"empty_us", distribution(times.empty)},
                             {"late_us", distribution(times.late)}}
                  .dump(1)
                  .c_str());
}

int runProgram(int argc, char** argv) {
    CLI::App app("Worst block of two paired instances on a busy machine");
    int seconds = 60;
    app.add_option("--seconds", seconds, "How long to play; an hour is 3600")
        ->check(CLI::Range(1, 86400));
    bool missedLocks = false;
    app.add_flag("--missed-locks", missedLocks,
                 "Sixteen instances, and what busy locks do to them");
    CLI11_PARSE(app, argc, argv);
    if (!host::enterPrivateShm())
        throw std::runtime_error("no private registry: run as root or allow user namespaces");
    if (missedLocks)
        std::puts(bench::missedLocks(std::chrono::seconds(seconds)).dump(1).c_str());
    else
        play(std::chrono::seconds(seconds));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return runProgram(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench-worst: %s\n", error.what());
        return 1;
    }
}
