#include "shm/SlotFields.h"
#include "shm/TessellaDuckworkSHM.h"
#include "tests/host/Track.h"
#include "tests/shm/RawSegment.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <gtest/gtest.h>
#include <memory>
#include <sys/socket.h>
#include <sys/wait.h>

namespace {

using support::Stereo;
using support::Track;

constexpr double kRate = 48000.0;
constexpr std::size_t kFrame = 1024;
constexpr std::size_t kBlock = 512;

const std::vector<support::Setting> kDucksWhateverSounds = {
    {ThreshLow, -60.0}, {ThreshMid, -60.0}, {ThreshHigh, -60.0}, {Release, 20.0}};

/// A second host process with one instance, which plays one block of noise when it is asked to.
class OtherHost {
public:
    /// Forks: nothing of the plug-in may run in this process yet.
    OtherHost() {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            throw std::runtime_error("no socket pair");
        child = fork();
        if (child == 0) {
            close(ends[0]);
            playOnDemand(ends[1]);
        }
        close(ends[1]);
        line = ends[0];
        play(); // the first answer comes when its slot is there
    }
    ~OtherHost() {
        kill();
        close(line);
    }
    OtherHost(const OtherHost&) = delete;
    OtherHost& operator=(const OtherHost&) = delete;

    /// Returns once the other has played a block. Its registry id is known then.
    void play() {
        const char go = 1;
        if (send(line, &go, 1, MSG_NOSIGNAL) != 1 || read(line, &id, sizeof id) != sizeof id)
            throw std::runtime_error("the other host has gone");
    }
    void kill() {
        if (child > 0) {
            ::kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
        }
        child = -1;
    }

    std::uint64_t id = 0;

private:
    [[noreturn]] static void playOnDemand(int line) try {
        alarm(60); // whatever happens to the test, nobody is left behind
        Track track;
        track.set(kDucksWhateverSounds);
        track.start(kRate);
        const Stereo in = support::noise(kBlock, 0.5, 11);
        for (char go = 0; read(line, &go, 1) == 1;) {
            Stereo out;
            track.block(in, 0, kBlock, out);
            const std::uint64_t own = track.id();
            if (write(line, &own, sizeof own) != sizeof own)
                break;
        }
        _exit(0);
    } catch (...) {
        _exit(1);
    }

    pid_t child = -1;
    int line = -1;
};

/// Plays steady noise and says, for each stretch, how far it comes out turned down.
class Listener {
public:
    explicit Listener(Track& t) : track(t) {}

    template <class Between>
    double reductionDb(int blocks, const Between& between) {
        const std::size_t from = out.size();
        for (int i = 0; i < blocks; ++i) {
            track.block(in, out.size(), kBlock, out);
            between();
        }
        return 20.0 * std::log10(rms(out, from) / rms(in));
    }
    double reductionDb(int blocks) {
        return reductionDb(blocks, [] {});
    }
    [[nodiscard]] double error(std::size_t from) const {
        return support::largestError(out, in, 2 * kFrame, 1.0, from);
    }

    Stereo out;

private:
    Track& track;
    Stereo in = support::noise(1000 * kBlock, 0.5, 12);
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
    const auto isOther = [&other](const shm::SlotSnapshot& slot) { return slot.id == other.id; };
    const auto otherSlot = [&] {
        const auto slots = support::activeSlots();
        const auto found = std::ranges::find_if(slots, isOther);
        return found != slots.end() ? std::optional(*found) : std::nullopt;
    };

    Listener listener(track);
    listener.reductionDb(40, [&other] { other.play(); });
    EXPECT_LT(listener.reductionDb(40, [&other] { other.play(); }), -6.0);
    EXPECT_LT(track.slot().value().gainReduction[1], -6.0F);
    EXPECT_LT(otherSlot().value().gainReduction[1], -6.0F) << "the other one ducks as well";

    other.kill();
    EXPECT_LT(listener.reductionDb(40), -6.0) << "unswept, its last spectrum is still there";
    ASSERT_TRUE(otherSlot().has_value());
    sweepAsIfElevenSecondsWentBy(static_cast<std::size_t>(otherSlot()->index));
    EXPECT_FALSE(otherSlot().has_value());
    EXPECT_EQ(track.slot().value().remoteId, other.id) << "the link dangles: the other may return";

    const std::size_t sweptAt = listener.out.size();
    EXPECT_GT(listener.reductionDb(10), -6.0);
    listener.reductionDb(90);
    // One release time constant is two frames: after 60 blocks of half a frame nothing is left.
    EXPECT_LT(listener.error(sweptAt + 60 * kBlock), 1e-6);
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

/// An instance that plays, and a peer's editor that reaches into its slot.
class EditedByPeer : public testing::Test {
protected:
    EditedByPeer() {
        track.start(kRate);
        playBlock();
        attached = monitor.Attach();
    }
    void SetUp() override { ASSERT_TRUE(attached); }

    void playBlock() { track.block(in, 0, kBlock, out); }

    /// The last block's output events are these values, each once, and the parameters have them.
    void expectSent(const std::vector<support::Setting>& expected) {
        EXPECT_EQ(track.sent.size(), expected.size());
        for (const auto& [id, value] : expected) {
            int times = 0;
            for (std::uint32_t i = 0; i < track.sent.size(); ++i)
                if (const auto* event = track.sent.paramValueAt(i);
                    event && event->param_id == id) {
                    EXPECT_NEAR(event->value, track.toHost(id, value), 1e-7) << id;
                    ++times;
                }
            EXPECT_EQ(times, 1) << "parameter " << id;
            EXPECT_NEAR(track.hostValue(id), track.toHost(id, value), 1e-7) << id;
        }
    }

    Track track;
    shm::RegistryMonitor monitor;
    Stereo in = support::noise(kBlock, 0.5, 14), out;
    bool attached = false;
};

TEST_F(EditedByPeer, ReachesParametersAndHostOnceAndConstrained) {
    const TDBand bands[] = {{20.0F, 300.0F, -33.0F, 6.0F, true},
                            {300.0F, 30000.0F, -99.0F, 99.0F, true},
                            {30000.0F, 20000.0F, 12.0F, 3.0F, false}};
    monitor.WriteBandsOf(track.id(), bands, 3);
    monitor.WriteHpLpOf(track.id(), 5000.0F, 500.0F);
    playBlock();
    expectSent({{FreqLow, 300.0},
                {FreqHigh, 20000.0},
                {ThreshLow, -33.0},
                {ThreshMid, -60.0},
                {ThreshHigh, 0.0},
                {RatioLow, 6.0},
                {RatioMid, 20.0},
                {RatioHigh, 1.0},
                {HP, 1000.0},
                {LP, 1000.0}});
    playBlock();
    expectSent({});

    monitor.WriteControlsOf(track.id(), 1000.0F, 1.0F, 3.0F);
    playBlock();
    expectSent({{Attack, 300.0}, {Release, 5.0}, {Makeup, 3.0}});
    monitor.WriteHpLpOf(track.id(), NAN, 7000.0F);
    playBlock();
    expectSent({{LP, 7000.0}}); // what is no number changes nothing
}

TEST_F(EditedByPeer, DoesNotEchoTheHostsOwnEventsOfThatBlock) {
    monitor.WriteHpLpOf(track.id(), 100.0F, 20000.0F);
    track.events.addParamValue(Makeup, track.toHost(Makeup, 4.0));
    track.events.addParamValue(ThreshLow, track.toHost(ThreshLow, -50.0));
    playBlock();
    expectSent({{HP, 100.0}});
    EXPECT_FLOAT_EQ(track.slot().value().makeupDb, 4.0F);
    EXPECT_NEAR(track.hostValue(ThreshLow), track.toHost(ThreshLow, -50.0), 1e-9);
}

TEST_F(EditedByPeer, ABusyRegistryNeitherStopsABlockNorLosesAnEdit) {
    monitor.WriteHpLpOf(track.id(), 150.0F, 7000.0F);
    playBlock();
    monitor.WriteHpLpOf(track.id(), 100.0F, 9000.0F);
    const std::uint64_t before = monitor.WriteControlsOf(track.id(), 70.0F, 200.0F, 1.0F);
    {
        const raw::HeldLock busy; // a block that waited for it would never end
        track.events.addParamValue(Attack, track.toHost(Attack, 55.0));
        playBlock();
        expectSent({});
        playBlock();
        expectSent({});
        EXPECT_NEAR(track.hostValue(Attack), track.toHost(Attack, 55.0), 1e-9);
    }
    EXPECT_EQ(track.slot().value().controlsSeq, before) << "nothing was published under the lock";
    playBlock();
    expectSent({{HP, 100.0}, {LP, 9000.0}});
    // Of two edits of the controls the host's came later, and the later one wins the whole group.
    EXPECT_EQ(track.slot().value().controlsSeq, before + 1);
    EXPECT_FLOAT_EQ(track.slot().value().attackMs, 55.0F);
    playBlock();
    expectSent({});
    EXPECT_NEAR(track.hostValue(Attack), track.toHost(Attack, 55.0), 1e-9);
}

} // namespace
