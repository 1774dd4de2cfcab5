#include "tests/faults/Studio.h"

#include "host/ByteStream.h"
#include "tests/host/Track.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <clap/ext/state.h>
#include <cmath>
#include <cstring>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>

namespace faults {

struct Studio::Shared {
    std::atomic<std::uint64_t> kick, bass, blocks, wrong, waits, ducked, saves;
    std::atomic<double> worstBlockUs, worstSaveMs;
    std::atomic<bool> ready;
};

namespace {

constexpr std::size_t kBlock = 128;
constexpr std::size_t kLoop = 8192; ///< the noise repeats itself
constexpr std::size_t kDelay = 2048;
constexpr const char* kKickName = "kick of the studio";

double threadMicroseconds() {
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return 1e6 * static_cast<double>(used.tv_sec) + 1e-3 * static_cast<double>(used.tv_nsec);
}

/// How often this thread has gone to sleep of its own accord.
std::uint64_t threadSleeps() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return static_cast<std::uint64_t>(usage.ru_nvcsw);
}

/// One instance on a loop of noise.
struct Player {
    support::Track& track;
    support::Stereo in;
    host::AudioBuffers audio{kBlock};
    std::size_t at = 0;
    double error = 0.0; ///< of the last block: its largest difference from the input as it was
    double gain = 1.0;  ///< and its level divided by that of the input

    void block(Studio::Shared& shared) {
        for (std::uint32_t i = 0; i < kBlock; ++i) {
            audio.input().set(0, i, in.left[(at + i) % kLoop]);
            audio.input().set(1, i, in.right[(at + i) % kLoop]);
        }
        const std::uint64_t sleeps = threadSleeps();
        const double before = threadMicroseconds();
        track.instance.process(audio, kBlock);
        shared.worstBlockUs = std::max<double>(shared.worstBlockUs, threadMicroseconds() - before);
        shared.waits += threadSleeps() - sleeps;
        if ((at += kBlock) > 2 * kDelay)
            measure();
    }
    void measure() {
        double out = 0.0;
        double was = 0.0;
        error = 0.0;
        for (std::uint32_t i = 0; i < kBlock; ++i) {
            const double x = in.left[(at - kBlock + i + kLoop - kDelay) % kLoop];
            const double y = audio.output().get(0, i);
            error = std::max(error, std::abs(y - x));
            out += y * y;
            was += x * x;
        }
        gain = std::sqrt(out / was);
    }
};

[[noreturn]] void playForever(support::Track& kick, support::Track& bass, Studio::Shared& shared) {
    Player kickPlayer{kick, support::noise(kLoop, 0.5, 1)};
    Player bassPlayer{bass, support::noise(kLoop, 0.5, 2)};
    for (;; std::this_thread::sleep_for(std::chrono::microseconds(1300))) {
        kickPlayer.block(shared);
        bassPlayer.block(shared);
        shared.wrong += kickPlayer.error < 1e-6 && bassPlayer.gain < 1.5 ? 0 : 1; // NaN: wrong
        shared.ducked += bassPlayer.gain < 0.5 ? 1 : 0;
        ++shared.blocks;
    }
}

[[noreturn]] void runHost(Studio::Shared& shared, bool paired) {
    support::Track kick;
    support::Track bass;
    shared.kick = kick.id();
    shared.bass = bass.id();
    bass.set({{ThreshLow, -60}, {ThreshMid, -60}, {ThreshHigh, -60}, {Release, 20}});
    bass.set({{RatioLow, 20}, {RatioMid, 20}, {RatioHigh, 20}});
    shm::RegistryMonitor monitor;
    if (paired && !(monitor.Attach() && monitor.SetDuckSelfOf(kick.id(), false) &&
                    monitor.Rename(kick.id(), kKickName) && monitor.Pair(kick.id(), bass.id())))
        _exit(1);
    kick.start(48000.0);
    bass.start(48000.0);
    std::thread([&] { playForever(kick, bass, shared); }).detach();
    shared.ready = true;
    const auto* table = bass.instance.extension<clap_plugin_state_t>(CLAP_EXT_STATE);
    for (;; std::this_thread::sleep_for(std::chrono::milliseconds(20)), ++shared.saves) {
        host::ByteSink sink;
        const auto save = [&] { table->save(bass.instance.plugin(), sink.stream()); };
        shared.worstSaveMs = std::max<double>(shared.worstSaveMs, timed(save).worstWaitMs);
    }
}

} // namespace

Studio::Studio(bool paired)
    : shared(*new (mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                        -1, 0)) Shared{}),
      child(spawn([this, paired]() -> bool { runHost(shared, paired); })) {
    const bool ready = eventually([this] { return shared.ready.load(); }, 20000);
    kickId = shared.kick;
    bassId = shared.bass;
    if (!ready || (paired && !isDucked()))
        throw std::runtime_error("the studio does not start");
}

Studio::~Studio() {
    destroy(child);
    munmap(&shared, sizeof shared);
}

bool Studio::pair() const {
    shm::RegistryMonitor monitor;
    return monitor.Attach() && monitor.Pair(kickId, bassId);
}

bool Studio::isDucked() const {
    const std::uint64_t settled = shared.blocks + 50; // release and delay are over
    if (!eventually([&] { return shared.blocks >= settled; }))
        return false;
    const std::uint64_t before = shared.ducked;
    return eventually([&] { return shared.blocks >= settled + 20; }) &&
           shared.ducked >= before + 14;
}

bool Studio::isListed() const try {
    const auto kick = support::activeSlot(kickId);
    const auto bass = support::activeSlot(bassId);
    return kick && bass && kick->remoteId == bassId && bass->remoteId == kickId &&
           !kick->duckSelf && std::strcmp(kick->name, kKickName) == 0;
} catch (const boost::interprocess::interprocess_exception&) {
    return false; // a broken lock
}

bool Studio::isBack() const {
    return eventually([this] { return isListed(); }) && eventually([this] { return isDucked(); });
}

Row Studio::report() const {
    Row row{.worstBlockUs = shared.worstBlockUs, .worstWaitMs = shared.worstSaveMs};
    const std::uint64_t blocks = shared.blocks;
    const std::uint64_t saves = shared.saves;
    row.require(waitpid(child, nullptr, WNOHANG) == 0, "the host has died");
    row.require(eventually([&] { return shared.blocks > blocks && shared.saves > saves; }),
                "the host no longer plays");
    row.require(shared.wrong == 0, std::to_string(shared.wrong) + " wrong blocks");
    row.require(shared.waits == 0, std::to_string(shared.waits) + " sleeps of the audio thread");
    return row;
}

} // namespace faults
