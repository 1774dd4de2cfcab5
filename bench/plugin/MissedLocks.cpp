#include "bench/plugin/MissedLocks.h"

#include "bench/plugin/EditorWindows.h"
#include "bench/plugin/Player.h"
#include "tests/support/Screen.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <deque>
#include <dlfcn.h>
#include <pthread.h>
#include <thread>

namespace {

/// What a block has met: its first try is that of reading (with some more where the peer would
/// count as absent), the last one that of a second look when the first was busy, the others are
/// those of writing.
struct Tries {
    int all = 0, busy = 0, busyAtFirst = 0;
    bool lastBusy = false;
};
thread_local Tries tTries;

} // namespace

/// Stands in for the C library's own, for the plug-in file too.
extern "C" [[gnu::visibility("default")]] int
pthread_mutex_trylock(pthread_mutex_t* mutex) noexcept {
    static const auto original =
        reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_trylock"));
    const int result = original(mutex);
    tTries.busyAtFirst += tTries.all == tTries.busyAtFirst && result == EBUSY ? 1 : 0;
    tTries.lastBusy = result == EBUSY;
    tTries.busy += result == EBUSY ? 1 : 0;
    ++tTries.all;
    return result;
}

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kRate = 48000.0;
constexpr std::uint32_t kFrames = 64, kWindow = 512; ///< samples; a window is a hop
constexpr std::chrono::nanoseconds kPeriod{static_cast<int>(1e9 * kFrames / kRate)};
constexpr double kQuiet = 1e-6 * 2 * kWindow; ///< a window at -60 dBFS: nobody hears a lift there
constexpr std::size_t kPairs = 8, kEditors = 4;

/// A kick in every lap: what a late spectrum costs is most where the sound changes most.
void makeKick(const Sound& sound) {
    for (const std::size_t channel : {0U, 1U})
        for (std::uint32_t i = 0; i < kLapFrames; ++i)
            sound.channel(channel, 0)[i] *= std::exp(-10.0F * static_cast<float>(i) / kLapFrames);
}

/// Blocks that found the lock busy when reading, also at the second look, and so twice in a row
/// that they count the peer as absent; busy tries of writing; how much louder than usual a window
/// was.
struct Met {
    std::uint64_t reads = 0, secondLooks = 0, absent = 0, writes = 0;
    double mostLiftDb = 0.0;
};

/// An instance, what it has met, and how loud it was in each window of a lap without a miss.
struct Listener {
    explicit Listener(const Sound& sound) : player(sound) { player.start(kRate); }

    void block(std::uint32_t at, bool learn) {
        tTries = {};
        player.block(at, kFrames);
        constexpr int kLooks = 5; // of a block whose peer would count as absent
        const bool firstBusy = tTries.busyAtFirst > 0;
        const bool secondBusy = firstBusy && tTries.lastBusy;
        met.reads += firstBusy ? 1 : 0;
        met.secondLooks += secondBusy ? 1 : 0;
        met.absent += wasBusy && tTries.busyAtFirst >= kLooks ? 1 : 0;
        met.writes += wasBusy ? 0 : tTries.busy - (firstBusy ? 1 : 0) - (secondBusy ? 1 : 0);
        wasBusy = secondBusy;
        for (const std::uint32_t channel : {0U, 1U})
            for (const float sample : player.output(channel).first(kFrames))
                energy += double{sample} * sample;
        if ((at + kFrames) % kWindow != 0)
            return;
        double& usual = usualEnergy[at / kWindow];
        if (learn)
            usual = energy;
        else
            met.mostLiftDb =
                std::max(met.mostLiftDb, 10.0 * std::log10((energy + kQuiet) / (usual + kQuiet)));
        energy = 0.0;
    }

    Player player;
    std::array<double, kLapFrames / kWindow> usualEnergy{};
    double energy = 0.0;
    Met met;
    bool wasBusy = false;
};

struct Pair {
    Pair(const Sound& kickSound, const Sound& bassSound) : kick(kickSound), bass(bassSound) {}
    void block(std::uint32_t at, bool learn) {
        kick.block(at, learn);
        bass.block(at, learn);
    }
    Listener kick, bass;
};

/// Every so manieth pair, from one of them on, with a host's priority where that is permitted.
void play(std::deque<Pair>& pairs, std::size_t first, std::size_t step, std::size_t periods) {
    const sched_param priority{.sched_priority = 50};
    pthread_setschedparam(pthread_self(), SCHED_FIFO, &priority);
    std::uint32_t at = 0;
    auto due = Clock::now() + kPeriod;
    for (std::size_t period = 0; period < periods; ++period, due += kPeriod) {
        std::this_thread::sleep_until(due);
        for (std::size_t pair = first; pair < pairs.size(); pair += step)
            pairs[pair].block(at, false);
        at = (at + kFrames) % kLapFrames;
    }
}

/// Plays until the sound repeats itself, and remembers a lap of it.
void settle(std::deque<Pair>& pairs) {
    constexpr int kLaps = 60;
    for (int lap = 1; lap <= kLaps; ++lap)
        for (std::uint32_t at = 0; at < kLapFrames; at += kFrames)
            for (Pair& pair : pairs)
                pair.block(at, lap == kLaps);
}

} // namespace

nlohmann::json missedLocks(std::chrono::seconds length) {
    support::sDrawsNothing = true;
    const Sound kickSound(1), bassSound(2);
    makeKick(kickSound);
    std::deque<Pair> pairs;
    shm::RegistryMonitor monitor;
    std::vector<host::Instance*> edited;
    while (pairs.size() < kPairs) {
        auto& [kick, bass] = pairs.emplace_back(kickSound, bassSound);
        if (!monitor.Attach() || !monitor.Pair(kick.player.id(), bass.player.id()))
            throw host::HostError("the registry refuses a pairing");
        if (edited.size() < kEditors)
            edited.insert(edited.end(), {&kick.player.instance(), &bass.player.instance()});
    }
    settle(pairs);
    for (Pair& pair : pairs)
        for (Listener* const listener : {&pair.kick, &pair.bass})
            listener->met = {};
    const EditorWindows editors(edited);
    const std::size_t threadCount = std::max(1U, std::thread::hardware_concurrency());
    const auto periods = static_cast<std::size_t>(length / kPeriod);
    const int framesBefore = support::sFramesDrawn;
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < threadCount; ++i)
            threads.emplace_back([&, i] { play(pairs, i, threadCount, periods); });
    }
    const double seconds = static_cast<double>(length.count());
    std::uint64_t reads = 0, secondLooks = 0, absent = 0, writes = 0;
    double kickLiftDb = 0.0, bassLiftDb = 0.0;
    for (const Pair& pair : pairs) {
        for (const Listener* const listener : {&pair.kick, &pair.bass}) {
            reads += listener->met.reads;
            secondLooks += listener->met.secondLooks;
            absent += listener->met.absent;
            writes += listener->met.writes;
        }
        kickLiftDb = std::max(kickLiftDb, pair.kick.met.mostLiftDb);
        bassLiftDb = std::max(bassLiftDb, pair.bass.met.mostLiftDb);
    }
    return {{"seconds", seconds},
            {"blocks", 2 * kPairs * periods},
            {"audio_threads", threadCount},
            {"editors", editors.count()},
            {"frames_per_second_of_all", (support::sFramesDrawn - framesBefore) / seconds},
            {"busy_reads_per_minute", static_cast<double>(reads) * 60.0 / seconds},
            {"busy_second_looks_per_minute", static_cast<double>(secondLooks) * 60.0 / seconds},
            {"blocks_without_peer", absent},
            {"busy_writes_per_minute", static_cast<double>(writes) * 60.0 / seconds},
            {"most_lift_db", {{"kicks", kickLiftDb}, {"basses", bassLiftDb}}}};
}

} // namespace bench
