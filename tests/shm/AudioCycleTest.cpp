#include "shm/TessellaDuckworkSHM.h"
#include "tests/shm/RawSegment.h"

#include <array>
#include <atomic>
#include <optional>
#include <sys/wait.h>
#include <thread>

namespace {

using namespace raw;
using Cycle = TessellaDuckworkSHM::TDAudioReadCycle;
using Three = std::array<float, 3>;

class AudioCycle : public RegistryTest {
protected:
    void SetUp() override {
        RegistryTest::SetUp();
        ASSERT_TRUE(own.Open() && peer.Open());
        segment.emplace();
    }
    bool Read(Cycle& cycle, float* bins = nullptr, int n = 1024) {
        return own.ReadAudioCycle(0, 0, 0, cycle, bins, n);
    }
    TessellaDuckworkSHM own, peer;
    std::optional<Segment> segment;
    std::array<float, 2000> got{}; ///< More than a spectrum.
};

TEST_F(AudioCycle, TakesNoLockWhenNothingIsToBeCopied) {
    segment->Put(Slot(0) + kBypass, std::uint8_t{4});
    const HeldLock held;
    Cycle cycle;
    cycle.audioValid = true;
    EXPECT_TRUE(Read(cycle, got.data())) << "unpaired";
    EXPECT_FALSE(cycle.audioValid);
    EXPECT_TRUE(cycle.bypass && !cycle.duckSelf);
    segment->Put(Slot(0) + kRemote, peer.MyId());
    EXPECT_TRUE(Read(cycle)) << "paired, but no spectrum wanted";
    EXPECT_EQ(own.RemoteId(), peer.MyId()) << "the peer lookups follow the slot";
    cycle.audioValid = true;
    EXPECT_FALSE(Read(cycle, got.data())) << "the spectrum needs the lock";
    EXPECT_FALSE(cycle.audioValid);
}

TEST_F(AudioCycle, ReportsEachGroupOnceWithItsValues) {
    peer.SetRemoteId(own.MyId());
    const std::array<TDBand, 2> bands{{{1, 2, 3, 4, false}, {5, 6, 7, 8}}};
    own.WriteHpLp(30, 40); // an own write, recorded as 1 below
    peer.WriteRemoteBands(bands.data(), 2);
    Cycle cycle;
    {
        const HeldLock held;
        EXPECT_FALSE(own.ReadAudioCycle(0, 1, 0, cycle, nullptr, 0));
        EXPECT_TRUE(cycle.bandsChanged && cycle.bandsSeq == 0) << "flagged, not copied";
    }
    ASSERT_TRUE(own.ReadAudioCycle(0, 1, 0, cycle, nullptr, 0));
    EXPECT_TRUE(cycle.bandsChanged && !cycle.hpLpChanged && !cycle.controlsChanged);
    EXPECT_EQ(cycle.bandsSeq, 1U);
    EXPECT_TRUE(cycle.bandCount == 2 && cycle.bands[1].hiHz == 6);
    EXPECT_EQ(cycle.hpHz, 20) << "an unchanged group keeps what the caller put there";

    peer.WriteRemoteHpLp(50, 60);
    peer.WriteRemoteControls(7, 8, 9);
    ASSERT_TRUE(own.ReadAudioCycle(cycle.bandsSeq, 1, 0, cycle, nullptr, 0));
    EXPECT_TRUE(!cycle.bandsChanged && cycle.hpLpChanged && cycle.controlsChanged);
    EXPECT_TRUE(cycle.hpLpSeq == 2 && cycle.lpHz == 60);
    EXPECT_TRUE(cycle.controlsSeq == 1 && cycle.controls[2] == 9);
    for (const auto& [stored, read] : {std::pair{7, 3}, {-5, 0}}) {
        segment->Put(Slot(0) + kBandCount, std::int32_t{stored});
        EXPECT_TRUE(Read(cycle));
        EXPECT_EQ(cycle.bandCount, read);
    }
    const HeldLock held;
    EXPECT_TRUE(own.ReadAudioCycle(1, 2, 1, cycle, nullptr, 0)) << "all recorded: no change left";
}

TEST_F(AudioCycle, PassesMetersAndSpectrum) {
    peer.SetRemoteId(own.MyId());
    std::array<float, 2000> sent;
    sent.fill(0.5F);
    const Three state{1, 2, 3}, gr{-4, -5, -6};
    peer.WriteAudioCycle(state.data(), gr.data(), sent.data(), 2000, true);
    EXPECT_EQ(segment->Get<Three>(Slot(1) + kState), state);
    EXPECT_EQ(segment->Get<float>(Slot(1) + kAudioBins + 4 * 1023), 0.5F);
    EXPECT_EQ(segment->Get<std::uint64_t>(Slot(2)), 0U) << "2000 bins must not run on";
    sent.fill(9);
    segment->Put(Slot(1) + kHeartbeat, std::int64_t{1});
    peer.WriteAudioCycle(state.data(), gr.data(), sent.data(), 1024, false);
    EXPECT_GT(segment->Get<std::int64_t>(Slot(1) + kHeartbeat), 1);
    EXPECT_EQ(segment->Get<std::uint64_t>(Slot(1) + kAudioSeq), 1U) << "no bins this time";

    Cycle cycle;
    ASSERT_TRUE(Read(cycle, got.data(), 2000));
    EXPECT_TRUE(cycle.audioValid);
    EXPECT_TRUE(got[1023] == 0.5F && got[1024] == 0.0F);
    Three seen{};
    EXPECT_TRUE(own.ReadRemoteGR(seen.data()));
    EXPECT_EQ(seen, gr);
    EXPECT_TRUE(own.ReadRemoteAudioBins(seen.data(), 2));
    EXPECT_EQ(seen, (Three{0.5F, 0.5F, -6}));

    peer.Close();
    EXPECT_TRUE(Read(cycle, got.data())) << "an absent peer is no error";
    EXPECT_TRUE(!cycle.audioValid && cycle.remoteId != 0);
    own.Close();
    cycle.bandsChanged = true;
    EXPECT_FALSE(Read(cycle, got.data()));
    EXPECT_TRUE(cycle.bandsChanged) << "closed: untouched";
}

/// The peer's editor lives in another process; here run the audio and the editor thread.
TEST_F(AudioCycle, EditsOfTwoProcessesAreWholeAndAllCounted) {
    constexpr int kEdits = 300;
    peer.SetRemoteId(own.MyId());
    const pid_t child = fork();
    if (child == 0) {
        int written = 0;
        for (int i = 1; i <= kEdits; ++i)
            written += peer.WriteRemoteHpLp(static_cast<float>(i), static_cast<float>(i)) != 0;
        _exit(written == kEdits ? 0 : 1);
    }
    std::atomic<bool> done{false};
    std::atomic<int> torn{0};
    std::thread audio([&] {
        std::uint64_t seen = 0;
        for (Cycle cycle; !done; std::this_thread::yield()) {
            if (own.ReadAudioCycle(0, seen, 0, cycle, got.data(), 1024) && cycle.hpLpChanged) {
                torn += cycle.hpHz != cycle.lpHz || cycle.hpLpSeq < seen;
                seen = cycle.hpLpSeq;
            }
            own.WriteAudioCycle(got.data(), got.data(), got.data(), 1024, true);
        }
    });
    std::uint64_t ownEdits = 0;
    int status = 0;
    for (float value = 1000; waitpid(child, &status, WNOHANG) == 0; ++value) {
        ownEdits += own.WriteHpLp(value, value) != 0;
        own.SyncRemoteId();
        own.Touch();
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    done = true;
    audio.join();
    EXPECT_EQ(status, 0) << "the child's edits all found the lock";
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(segment->Get<std::uint64_t>(Slot(0) + kHpLpSeq), ownEdits + kEdits);
}

} // namespace
