#include "shm/Slot.h"
#include "shm/TessellaDuckworkSHM.h"
#include "tests/support/Test.h"

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
    bool Read(Cycle& cycle, float* bins = nullptr) {
        return own.ReadAudioCycle(0, 0, 0, cycle, bins, 1024);
    }
    TessellaDuckworkSHM own, peer;
    std::optional<Segment> segment;
    std::array<float, 1025> got{};
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

TEST_F(AudioCycle, DoesNotCopyWhatTheOtherSideHas) {
    peer.SetRemoteId(own.MyId());
    const Three meters{1, 2, 3}, others{1, 2, 4};
    std::array<float, 1024> sent;
    sent.fill(0.5F);
    const auto write = [&](const Three& values, bool bins) {
        return peer.WriteAudioCycle(values.data(), meters.data(), sent.data(), 1024, bins);
    };
    Cycle cycle;
    EXPECT_TRUE(write(meters, true));
    EXPECT_TRUE(Read(cycle, got.data()) && cycle.audioValid && cycle.audioNew);
    std::int64_t second = 0;
    do { // the heartbeat is news once a second
        second = shm::Now();
        EXPECT_TRUE(write(meters, false));
        EXPECT_TRUE(Read(cycle, got.data()) && cycle.audioValid && !cycle.audioNew);
        const HeldLock held;
        EXPECT_TRUE(!Read(cycle, got.data()) && !cycle.audioValid) << "tried even so";
        EXPECT_TRUE(!write(others, false) && !write(meters, true)) << "busy";
        EXPECT_TRUE(write(meters, false) || shm::Now() != second);
    } while (shm::Now() != second);

    EXPECT_TRUE(Read(cycle, got.data() + 1) && cycle.audioNew) << "another place holds nothing yet";
    sent.fill(0.25F);
    EXPECT_TRUE(write(meters, true));
    EXPECT_TRUE(Read(cycle, got.data()) && cycle.audioNew && got[0] == 0.25F);
    got[0] = 0.0F;
    own.ForgetPeerSpectrum();
    EXPECT_TRUE(Read(cycle, got.data()) && cycle.audioNew && got[0] == 0.25F);
    segment->Put(Slot(1) + kActive, std::uint32_t{0});
    EXPECT_TRUE(Read(cycle, got.data()) && !cycle.audioValid) << "swept";
    EXPECT_TRUE(write(meters, false));
    EXPECT_TRUE(Read(cycle, got.data()) && cycle.audioValid) << "back, though nothing else changed";
}

TEST_F(AudioCycle, TakesNoSpectrumOfALostSegmentForOneOfTheNext) {
    peer.SetRemoteId(own.MyId());
    const Three meters{};
    std::array<float, 1024> sent;
    sent.fill(0.5F);
    const auto publish = [&] {
        return peer.WriteAudioCycle(meters.data(), meters.data(), sent.data(), 1024, true);
    };
    Cycle cycle;
    EXPECT_TRUE(publish() && Read(cycle, got.data()) && got[0] == 0.5F);
    Remove();
    own.Touch();
    EXPECT_TRUE(Read(cycle, got.data()) && !cycle.audioValid)
        << "the frozen one of the old segment";
    peer.Touch();
    EXPECT_TRUE(Read(cycle, got.data()) && cycle.audioNew && got[0] == 0.0F) << "none yet";
    // Once more, unread in between: slot, id and counter are then those of the spectrum held.
    EXPECT_TRUE(publish() && Read(cycle, got.data()) && got[0] == 0.5F);
    Remove();
    own.Touch();
    peer.Touch();
    sent.fill(0.25F);
    EXPECT_TRUE(publish() && Read(cycle, got.data()));
    EXPECT_TRUE(cycle.audioNew && got[0] == 0.25F) << "the same slot and counter elsewhere";
}

} // namespace
