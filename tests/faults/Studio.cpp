#include "tests/faults/Studio.h"

#include "tests/support/RealTimeWatch.h"
#include "tests/support/Screen.h"
#include "tests/support/Test.h"
#include "tests/support/Track.h"

#include <deque>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>

namespace faults {

/// The host's process writes it, the harness reads it.
struct Studio::Shared {
    std::atomic<std::uint64_t> kick[kMaxPairs], bass[kMaxPairs];
    std::atomic<std::uint64_t> blocks, periods, wrong, waits, ducked, missed, saves, visitors;
    std::atomic<std::uint64_t> calls, repairs;
    std::atomic<int> lastSystemCall;
    std::atomic<double> worstSaveMs, longestBlockUs, longestPeriodUs;
    std::atomic<bool> ready;
};

namespace {

constexpr double kRate = 48000.0;
constexpr std::size_t kLoop = 8192; ///< the noise repeats itself
constexpr std::size_t kDelay = 2048;
/// The level of few samples of noise is uncertain; without ducking it is exactly 1.
constexpr double kDucked = 0.8;
constexpr const char* kKickName = "kick of the studio";

/// Of one thread.
void raise(std::atomic<double>& most, double value) { most = std::max<double>(most, value); }

double threadMicroseconds() {
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return 1e6 * static_cast<double>(used.tv_sec) + 1e-3 * static_cast<double>(used.tv_nsec);
}

/// How often this thread has gone to sleep of its own accord, and how many pages it has missed.
std::pair<long, long> threadSleeps() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return {usage.ru_nvcsw, usage.ru_minflt + usage.ru_majflt};
}

/// One instance on a loop of noise.
struct Player {
    Player(std::uint32_t frames, unsigned seed)
        : block(frames), in(support::noise(kLoop, 0.5, seed)), audio(frames) {}

    const std::uint32_t block;
    support::Track track{};
    support::Stereo in;
    host::AudioBuffers audio;
    std::size_t at = 0;
    double error = 0.0; ///< of the last block: its largest difference from the input as it was
    double gain = 1.0;  ///< and its level divided by that of the input

    /// Returns its processor time, µs.
    double play(Studio::Shared& shared) {
        for (std::uint32_t i = 0; i < block; ++i) {
            audio.input().set(0, i, in.left[(at + i) % kLoop]);
            audio.input().set(1, i, in.right[(at + i) % kLoop]);
        }
        const auto [sleeps, misses] = threadSleeps();
        const double before = threadMicroseconds();
        support::Offences seen;
        {
            const support::RealTimeWatch watch;
            track.instance.process(audio, block);
            seen = watch.seen();
        }
        const double used = threadMicroseconds() - before;
        ++shared.blocks;
        raise(shared.longestBlockUs, used);
        shared.calls += std::uint64_t(seen.allocations + seen.locks + seen.systemCalls);
        shared.repairs += std::uint64_t(seen.repairs);
        if (seen.lastSystemCall >= 0)
            shared.lastSystemCall = seen.lastSystemCall;
        // A page that is missed may have to wait for the process's memory map.
        if (const auto [now, missed] = threadSleeps(); missed == misses)
            shared.waits += std::uint64_t(now - sleeps);
        if ((at += block) > 2 * kDelay)
            measure();
        return used;
    }

    void measure() {
        double out = 0.0;
        double was = 0.0;
        error = 0.0;
        for (std::uint32_t i = 0; i < block; ++i) {
            const double x = in.left[(at - block + i + kLoop - kDelay) % kLoop];
            const double y = audio.output().get(0, i);
            error = std::max(error, std::abs(y - x));
            out += y * y;
            was += x * x;
        }
        gain = std::sqrt(out / was);
    }
};

struct Pair {
    Pair(std::uint32_t block, unsigned seed) : kick(block, seed), bass(block, seed + 1) {}
    Player kick, bass;
};

[[noreturn]] void playForever(std::deque<Pair>& pairs, const Studio::Setup& setup,
                              Studio::Shared& shared) {
    if (!support::trapSystemCalls())
        _exit(1);
    const double periodUs = 1e6 * setup.block / kRate;
    const std::chrono::duration<double, std::micro> pace(setup.realTime ? periodUs : 1300.0);
    auto due = std::chrono::steady_clock::now();
    for (;; std::this_thread::sleep_until(due)) {
        double used = 0.0;
        bool ducked = true;
        for (auto& [kick, bass] : pairs) {
            used += kick.play(shared) + bass.play(shared);
            shared.wrong += kick.error < 1e-6 && bass.gain < 1.5 ? 0 : 1; // NaN: wrong
            ducked = ducked && bass.gain < kDucked;
        }
        shared.ducked += ducked ? 1 : 0;
        raise(shared.longestPeriodUs, used);
        shared.missed += used > periodUs ? 1 : 0;
        ++shared.periods;
        // After a long interruption it starts anew, as a sound card does.
        due = std::max(due + std::chrono::duration_cast<std::chrono::nanoseconds>(pace),
                       std::chrono::steady_clock::now() - std::chrono::milliseconds(100));
    }
}

/// Basses that duck whatever sounds, kicks that never do.
bool prepare(std::deque<Pair>& pairs, bool paired) {
    for (auto& [kick, bass] : pairs) {
        bass.track.set({{ThreshLow, -60}, {ThreshMid, -60}, {ThreshHigh, -60}, {Release, 20}});
        bass.track.set({{RatioLow, 20}, {RatioMid, 20}, {RatioHigh, 20}});
        const std::uint64_t id = kick.track.id();
        shm::RegistryMonitor monitor;
        if (paired && !(monitor.Attach() && monitor.SetDuckSelfOf(id, false) &&
                        monitor.Rename(id, kKickName) && monitor.Pair(id, bass.track.id())))
            return false;
    }
    for (auto& [kick, bass] : pairs)
        for (Player* const player : {&kick, &bass}) {
            player->track.start(kRate, {.maxFrames = player->block});
            // The first block tells the host of the tail, and our host takes a note.
            player->track.instance.process(player->audio, player->block);
        }
    return true;
}

/// An instance that comes, plays a moment, and goes.
void visit() {
    static const support::Stereo silence{std::vector<double>(256), std::vector<double>(256)};
    support::Track visitor;
    visitor.start(kRate);
    (void)visitor.play(silence, 64);
}

[[noreturn]] void runHost(Studio::Shared& shared, const Studio::Setup& setup) {
    std::deque<Pair> pairs;
    for (std::size_t i = 0; i < setup.pairs; ++i) {
        const auto& [kick, bass] = pairs.emplace_back(setup.block, 2 * unsigned(i) + 1);
        shared.kick[i] = kick.track.id();
        shared.bass[i] = bass.track.id();
    }
    if (!prepare(pairs, setup.paired))
        _exit(1);
    support::Track& bass = pairs.front().bass.track;
    std::thread([&] { playForever(pairs, setup, shared); }).detach();
    std::optional<support::Screen> screen;
    std::optional<support::OpenEditor> editor;
    if (setup.editorAt) {
        screen.emplace();
        editor.emplace(*screen, pairs.front().kick.track, host::GuiSize{480, 300}, *setup.editorAt);
    }
    shared.ready = true;
    for (;; std::this_thread::sleep_for(std::chrono::milliseconds(20)), ++shared.saves) {
        const Row save = timed([&] { (void)host::saveState(bass.instance); });
        raise(shared.worstSaveMs, save.worstWaitMs);
        if (setup.visitors) {
            visit();
            ++shared.visitors;
        }
    }
}

} // namespace

Studio::Studio(const Setup& wanted)
    : setup(wanted), shared(*new (mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                                       MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Shared{}),
      child(spawn([this]() -> bool { runHost(shared, setup); })) {
    const bool ready = eventually([this] { return shared.ready.load(); });
    if (!ready || (setup.paired && !comesToDuck()))
        throw std::runtime_error("the studio does not start");
}

Studio::~Studio() {
    destroy(child);
    munmap(&shared, sizeof shared);
}

std::uint64_t Studio::kick(std::size_t pair) const { return shared.kick[pair]; }
std::uint64_t Studio::bass(std::size_t pair) const { return shared.bass[pair]; }
double Studio::longestPeriodUs() const { return shared.longestPeriodUs; }
std::uint64_t Studio::periods() const { return shared.periods; }
std::uint64_t Studio::missed() const { return shared.missed; }
std::uint64_t Studio::visitors() const { return shared.visitors; }

bool Studio::pair() const {
    shm::RegistryMonitor monitor;
    bool done = monitor.Attach();
    for (std::size_t i = 0; i < setup.pairs && done; ++i)
        done = monitor.Pair(kick(i), bass(i));
    return done;
}

std::uint64_t Studio::blocksIn(int samples) const {
    return static_cast<std::uint64_t>(samples) / setup.block;
}

bool Studio::isDucked() const {
    const std::uint64_t settled = shared.periods + blocksIn(6400); // release and delay are over
    if (!eventually([&] { return shared.periods >= settled; }))
        return false;
    const std::uint64_t before = shared.ducked;
    const std::uint64_t looked = blocksIn(2560);
    return eventually([&] { return shared.periods >= settled + looked; }) &&
           shared.ducked >= before + looked * 7 / 10;
}

bool Studio::comesToDuck() const {
    int looks = 100;
    while (looks > 0 && !isDucked())
        --looks;
    return looks > 0;
}

bool Studio::isListed() const try {
    for (std::size_t i = 0; i < setup.pairs; ++i) {
        const auto kickSlot = support::activeSlot(kick(i));
        const auto bassSlot = support::activeSlot(bass(i));
        if (!kickSlot || !bassSlot || kickSlot->remoteId != bass(i) ||
            bassSlot->remoteId != kick(i) || kickSlot->duckSelf ||
            std::strcmp(kickSlot->name, kKickName) != 0)
            return false;
    }
    return true;
} catch (const boost::interprocess::interprocess_exception&) {
    return false; // a broken lock
}

bool Studio::isBack() const {
    return eventually([this] { return isListed(); }) && comesToDuck();
}

Row Studio::report() const {
    Row row{.worstBlockUs = shared.longestBlockUs, .worstWaitMs = shared.worstSaveMs};
    row.blocks = shared.blocks;
    row.calls = shared.calls;
    row.repairs = shared.repairs;
    const std::uint64_t periods = shared.periods;
    const std::uint64_t saves = shared.saves;
    row.require(waitpid(child, nullptr, WNOHANG) == 0, "the host has died");
    row.require(eventually([&] { return shared.periods > periods && shared.saves > saves; }),
                "the host no longer plays");
    row.require(shared.wrong == 0, std::to_string(shared.wrong) + " wrong blocks");
    row.require(shared.waits == 0, std::to_string(shared.waits) + " sleeps of the audio thread");
    row.require(shared.calls == 0, std::to_string(shared.calls) +
                                       " calls on the audio thread, last system call " +
                                       std::to_string(shared.lastSystemCall));
    return row;
}

} // namespace faults
