#include "shm/SlotFields.h"
#include "shm/TessellaDuckworkSHM.h"
#include "tests/host/Track.h"
#include "tests/shm/RawSegment.h"

#include <cmath>
#include <csignal>
#include <gtest/gtest.h>
#include <memory>
#include <sys/wait.h>
#include <thread>

namespace {

using support::Stereo;
using support::Track;
using namespace std::chrono_literals;

constexpr double kRate = 48000.0;
constexpr std::size_t kFrame = 1024;
constexpr std::size_t kBlock = 512;

const std::vector<support::Setting> kDucksWhateverSounds = {
    {ThreshLow, -60.0}, {ThreshMid, -60.0}, {ThreshHigh, -60.0}, {Release, 20.0}};

/// A second host process with one instance, which plays noise all the time.
class OtherHost {
public:
    /// Forks: nothing of the plug-in may run in this process yet.
    OtherHost() : child(fork()) {
        if (child == 0)
            playForever();
        for (int i = 0; i < 1000 && id == 0; ++i) {
            std::this_thread::sleep_for(10ms);
            for (const shm::SlotSnapshot& slot : support::activeSlots())
                id = slot.id;
        }
    }
    ~OtherHost() { kill(); }
    void kill() {
        if (child > 0) {
            ::kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
        }
        child = -1;
    }
    std::uint64_t id = 0;

private:
    [[noreturn]] static void playForever() noexcept { // an exception must not run more tests
        alarm(60); // whatever happens to the test, nobody is left behind
        Track track;
        track.set(kDucksWhateverSounds);
        track.start(kRate);
        for (const Stereo in = support::noise(kBlock, 0.5, 11);; std::this_thread::sleep_for(1ms))
            track.play(in, kBlock);
    }
    pid_t child;
};

/// Sweeps what shows no sign of life, as any open editor does.
void sweepAsIfElevenSecondsWentBy(std::size_t deadSlot) {
    raw::Segment().Put(raw::Slot(deadSlot) + raw::kHeartbeat, shm::Now() - 11);
    TessellaDuckworkSHM sweeper;
    ASSERT_TRUE(sweeper.Open());
    sweeper.CleanDead();
}

TEST(Pair, TwoHostsDuckEachOtherAndOneOutlivesTheOther) {
    OtherHost other;
    Track track;
    track.set(kDucksWhateverSounds);
    track.start(kRate);
    shm::RegistryMonitor monitor;
    ASSERT_TRUE(monitor.Attach() && monitor.Pair(track.id(), other.id));
    const auto otherSlot = [&] { return support::activeSlot(other.id); };
    const Stereo in = support::noise(2000 * kBlock, 0.5, 12);
    Stereo out;
    // Plays some blocks of steady noise and says how far they come out turned down.
    const auto reductionDb = [&](int blocks) {
        const std::size_t from = out.size();
        for (int i = 0; i < blocks; ++i)
            track.block(in, out.size(), kBlock, out);
        return 20.0 * std::log10(rms(out, from) / rms(in));
    };
    for (int i = 0; i < 500 && otherSlot().value().gainReduction[1] > -6.0F; ++i) {
        reductionDb(3); // a spectrum is published with every third block
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_LT(otherSlot().value().gainReduction[1], -6.0F) << "the other one ducks as well";
    reductionDb(40);
    EXPECT_LT(reductionDb(40), -6.0);
    EXPECT_LT(track.slot().value().gainReduction[1], -6.0F);

    other.kill();
    EXPECT_LT(reductionDb(40), -6.0) << "unswept, its last spectrum is still there";
    ASSERT_TRUE(otherSlot().has_value());
    sweepAsIfElevenSecondsWentBy(static_cast<std::size_t>(otherSlot()->index));
    EXPECT_FALSE(otherSlot().has_value());
    EXPECT_EQ(track.slot().value().remoteId, other.id) << "the link dangles: the other may return";

    const std::size_t sweptAt = out.size();
    EXPECT_GT(reductionDb(10), -6.0);
    reductionDb(90);
    // One release time constant is two frames: after 60 blocks of half a frame nothing is left.
    EXPECT_LT(support::largestError(out, in, 2 * kFrame, 1.0, sweptAt + 60 * kBlock), 1e-6);
    EXPECT_NEAR(track.slot().value().gainReduction[1], 0.0F, 1e-5F);
}

TEST(Pair, TheSeventeenthInstancePlaysUnpairedAndAFreedSlotIsTakenAgain) {
    std::vector<std::unique_ptr<Track>> tracks;
    for (int i = 0; i < shm::kSlotCount; ++i)
        EXPECT_NE(tracks.emplace_back(std::make_unique<Track>())->id(), 0U);
    Track seventeenth;
    EXPECT_EQ(seventeenth.id(), 0U);
    seventeenth.start(kRate);
    const Stereo in = support::noise(20 * kBlock, 0.5, 13);
    EXPECT_LT(support::largestError(seventeenth.play(in, kBlock), in, 2 * kFrame, 1.0, 2 * kFrame),
              1e-6);

    tracks.erase(tracks.begin() + 5);
    const Track late;
    ASSERT_TRUE(late.slot().has_value());
    EXPECT_EQ(late.slot()->index, 5);
}

} // namespace
