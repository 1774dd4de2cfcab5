#include "tests/host/RealTimeWatch.h"
#include "tests/host/Track.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <mutex>
#include <random>
#include <thread>

namespace {

using support::Offences;
using support::RealTimeWatch;
using support::Track;

constexpr double kRate = 48000.0;
constexpr std::uint32_t kMaxFrames = 1024;
constexpr int kBlocks = 10000;
constexpr std::chrono::microseconds kBlockTime{200}; ///< faster than real, slower than edits

/// Runs something on a thread of its own whose system calls are trapped, and says what it did.
template <class Action>
Offences watchOnOwnThread(const Action& action) {
    Offences seen{.lastSystemCall = -2};
    std::thread([&] {
        if (!support::trapSystemCalls())
            return;
        const RealTimeWatch watch;
        action();
        seen = watch.seen();
    }).join();
    return seen;
}

TEST(Watch, CountsOffencesAndNothingElse) {
    std::mutex mutex;
    const Offences all = watchOnOwnThread([&mutex] {
        struct alignas(64) Line {
            int value;
        };
        Line* volatile const line = new Line; // by way of aligned_alloc; volatile: kept
        delete line;
        const std::lock_guard lock(mutex);
        const timespec moment{0, 1};
        nanosleep(&moment, nullptr);
    });
    ASSERT_NE(all.lastSystemCall, -2) << "system calls cannot be trapped here";
    EXPECT_TRUE(all.allocations > 0 && all.locks > 0 && all.systemCalls > 0);
    const Offences none = watchOnOwnThread([&mutex] {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        if (mutex.try_lock())
            mutex.unlock();
    });
    EXPECT_TRUE(none.allocations == 0 && none.locks == 0 && none.systemCalls == 0);
}

TEST(WatchedPlugin, IsNotExemptFromTheWatch) {
    const auto library = support::plugin();
    const host::HostCallbacks callbacks;
    const RealTimeWatch watch;
    const auto& factory = library->factory();
    const clap_plugin_t* const plugin =
        factory.create_plugin(&factory, callbacks.record(), "com.Orlavenko.TessellaDuckwork");
    plugin->destroy(plugin);
    EXPECT_GT(watch.seen().allocations, 0);
    EXPECT_GT(watch.seen().locks, 0);
}

/// Blocks of random size with automation.
class RandomPlayer {
public:
    RandomPlayer(Track& t, unsigned seed) : track(t), random(seed), audio(kMaxFrames) {
        track.start(kRate, {.maxFrames = kMaxFrames});
        for (std::uint32_t i = 0; i < kMaxFrames; ++i)
            for (const std::uint32_t channel : {0U, 1U})
                audio.input().set(channel, i, static_cast<double>(random() % 2001) / 1000.0 - 1.0);
    }

    void block() {
        in.clear();
        out.clear();
        for (auto events = random() % 4; events > 0; --events)
            in.addParamValue(static_cast<clap_id>(random() % kNumParams),
                             static_cast<double>(random() % 1001) / 1000.0);
        track.instance.process(audio, 1 + static_cast<std::uint32_t>(random() % kMaxFrames), in,
                               out);
        eventsOut += out.size();
    }

    std::size_t eventsOut = 0;

private:
    Track& track;
    std::minstd_rand random;
    host::AudioBuffers audio;
    host::EventList in, out;
};

/// What editors of other instances do to this one, at random, until told to stop.
void editAsPeer(std::uint64_t id, std::uint64_t peer, const std::atomic<bool>& stop) {
    shm::RegistryMonitor monitor;
    std::minstd_rand random(9);
    for (bool ready = monitor.Attach(); ready && !stop;) {
        const auto value = static_cast<float>(random() % 1000);
        const TDBand bands[] = {{20.0F, 200.0F + value, -value / 20.0F, 4.0F, random() % 2 == 0},
                                {200.0F + value, 20000.0F, -30.0F, value / 50.0F, true}};
        monitor.WriteBandsOf(id, bands, 1 + static_cast<int>(random() % 2));
        monitor.WriteHpLpOf(id, value, 10.0F * value);
        monitor.WriteControlsOf(id, value / 10.0F, value, value / 100.0F);
        monitor.SetBypassOf(id, random() % 8 == 0);
        monitor.SetDuckSelfOf(id, random() % 4 != 0);
        if (random() % 16 == 0)
            monitor.Unpair(id);
        else
            monitor.Pair(id, peer);
    }
}

TEST(WatchedPlugin, NeitherAllocatesNorWaitsNorCallsTheSystemInTenThousandBlocks) {
    Track track, peer;
    RandomPlayer player(track, 1);
    std::atomic<bool> stop = false;
    std::thread peerAudio([&] {
        for (RandomPlayer peerPlayer(peer, 2); !stop; std::this_thread::sleep_for(kBlockTime))
            peerPlayer.block();
    });
    std::thread editor([&] { editAsPeer(track.id(), peer.id(), stop); });
    for (int warmUp = 0; warmUp < 10; ++warmUp)
        player.block(); // the first block tells the host of the tail, and our host takes a note
    const Offences seen = watchOnOwnThread([&player] {
        auto due = std::chrono::steady_clock::now();
        for (int block = 0; block < kBlocks; ++block, due += kBlockTime) {
            while (std::chrono::steady_clock::now() < due) {
                // The others' turn; a sleep would be a system call.
            }
            player.block();
        }
    });
    stop = true;
    peerAudio.join();
    editor.join();
    EXPECT_EQ(seen.allocations, 0);
    EXPECT_EQ(seen.locks, 0);
    EXPECT_EQ(seen.lastSystemCall, -1);
    EXPECT_GT(player.eventsOut, 100U) << "edits arrive all the time";
}

} // namespace
