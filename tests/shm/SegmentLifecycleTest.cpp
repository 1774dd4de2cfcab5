#include "shm/Obstacle.h"
#include "shm/Slot.h"
#include "shm/TessellaDuckworkSHM.h"
#include "tests/support/Test.h"

namespace {

using namespace raw;
using SegmentLifecycle = RegistryTest;

constexpr float kZeros[3] = {};

TEST_F(SegmentLifecycle, CreatedSegmentIsAsContractedByteForByte) {
    const mode_t former = umask(077);
    TessellaDuckworkSHM handle;
    ASSERT_TRUE(handle.Open());
    umask(former);
    EXPECT_EQ(Stat().st_mode & 07777, 0644U);
    ASSERT_EQ(static_cast<std::size_t>(Stat().st_size), kBytes);

    Segment segment;
    const auto heartbeat = segment.Get<std::int64_t>(Slot(0) + kHeartbeat);
    EXPECT_NEAR(static_cast<double>(heartbeat), static_cast<double>(std::time(nullptr)), 2.0);
    std::string expected(kBytes, '\0');
    const auto put = [&expected](std::size_t offset, const auto& value) {
        std::memcpy(expected.data() + offset, &value, sizeof value);
    };
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutex_init(reinterpret_cast<pthread_mutex_t*>(expected.data() + kMutex), &attributes);
    const auto id =
        (static_cast<std::uint64_t>(getpid()) << 32) ^ reinterpret_cast<std::uintptr_t>(&handle);
    put(kVersion, std::uint32_t{10});
    put(kHighWater, std::int32_t{1});
    put(Slot(0) + kId, id);
    put(Slot(0) + kActive, std::uint8_t{1});
    put(Slot(0) + kHeartbeat, heartbeat);
    std::memcpy(expected.data() + Slot(0) + kName, "TessellaDuckwork", 16);
    std::memcpy(expected.data() + kMagic, "GRDT", 4);
    EXPECT_EQ(std::memcmp(segment.base, expected.data(), kBytes), 0);
    std::array<float, 400> bins;
    bins.fill(7);
    handle.WriteBins(bins.data(), 400);
    EXPECT_EQ(segment.Get<float>(Slot(0) + kAudioBins), 0) << "too many for their field";
}

TEST_F(SegmentLifecycle, SixteenSlotsThenNoneThenTheFreedOne) {
    std::array<TessellaDuckworkSHM, 16> handles;
    for (auto& handle : handles)
        ASSERT_TRUE(handle.Open());
    Segment segment;
    TessellaDuckworkSHM extra, newcomer, later;
    EXPECT_FALSE(extra.Open());
    EXPECT_EQ(shm::FindObstacle(), shm::Obstacle::Full);
    handles[5].Close();
    // A claim must wipe whatever a former owner left, padding included, and touch no neighbour.
    std::memset(segment.base + Slot(5), 0xFE, 5376);
    ASSERT_TRUE(extra.Open());
    EXPECT_EQ(segment.Get<std::uint64_t>(Slot(5) + kId), extra.MyId());
    segment.Put(Slot(5) + kActive, std::uint8_t{0});
    segment.Put(Slot(5) + kHeartbeat, std::int64_t{0});
    EXPECT_EQ(std::string(segment.base + Slot(5) + kName + 16, 5376 - kName - 16),
              std::string(5376 - kName - 16, '\0'));
    EXPECT_EQ(segment.Get<std::uint64_t>(Slot(6) + kId), handles[6].MyId());
    EXPECT_EQ(segment.Get<std::int32_t>(kHighWater), 16);
    for (std::size_t dead = 1; dead < 16; ++dead)
        segment.Put(Slot(dead) + kHeartbeat, shm::Now() - 12);
    EXPECT_TRUE(newcomer.Open() && later.OpenLater()) << "the dead keep nobody out";
}

TEST_F(SegmentLifecycle, ToldWhatIsInTheWay) {
    using shm::FindObstacle;
    using shm::Obstacle;
    EXPECT_EQ(FindObstacle(), Obstacle::Missing);
    for (const std::uint32_t version : {10U, 11U}) {
        Make(kBytes, version, "GRDT", 1, std::time(nullptr));
        EXPECT_EQ(FindObstacle(), version == 10 ? Obstacle::None : Obstacle::Foreign);
    }
    Make(kBytes - 1, 10, "GRDT", 1, 0);
    EXPECT_EQ(FindObstacle(), Obstacle::Foreign);
    Remove();
    ASSERT_EQ(mkdir(kPath, 0700), 0);
    EXPECT_EQ(FindObstacle(), Obstacle::Foreign);
    rmdir(kPath);
    Make(kBytes, 10, "GRDT", 1, std::time(nullptr));
    {
        const HeldLock held;
        EXPECT_EQ(FindObstacle(), Obstacle::Busy);
        EXPECT_FALSE(TessellaDuckworkSHM().Open());
    }
    if (chown(kPath, 12345, 12345) == 0) { // as root
        EXPECT_EQ(FindObstacle(), Obstacle::OtherUser);
        (void)!chown(kPath, 0, 0);
    }
}

TEST_F(SegmentLifecycle, OpenJoinsWhatLivesAndReplacesWhatDoesNot) {
    // Ages are a second off the limit where the clock may step during the test.
    const struct {
        const char* what;
        std::size_t bytes;
        std::uint32_t version;
        const char* magic;
        std::uint8_t active;
        int age;
        bool joined;
    } cases[] = {{"a live one, 9 s old", kBytes, 10, "GRDT", 1, 9, true},
                 {"only bit 0 of active counts", kBytes, 10, "GRDT", 0xFF, 0, true},
                 {"dead for 11 s", kBytes, 10, "GRDT", 1, 11, false},
                 {"released", kBytes, 10, "GRDT", 0xFE, 0, false},
                 {"longer, with a live slot", kBytes + 1, 10, "GRDT", 1, 0, false},
                 {"short", 100, 10, "GRDT", 1, 0, false},
                 {"not yet extended, by one that was killed", 0, 10, "GRDT", 1, 0, false},
                 {"live but of another layout", kBytes, 11, "GRDT", 1, 0, false},
                 {"never becoming ready", kBytes, 10, "GRD?", 1, 0, false}};
    for (const auto& found : cases) {
        SCOPED_TRACE(found.what);
        Make(found.bytes, found.version, found.magic, found.active, std::time(nullptr) - found.age);
        const ino_t former = Stat().st_ino;
        const int keepsInodeBusy = open(kPath, O_RDONLY | O_CLOEXEC);
        TessellaDuckworkSHM handle;
        if (std::strcmp(found.magic, "GRD?") == 0) {
            EXPECT_FALSE(handle.OpenLater()) << "somebody is making it, and nobody waits";
        }
        ASSERT_TRUE(handle.Open());
        EXPECT_EQ(Stat().st_ino == former, found.joined);
        EXPECT_EQ(Segment().Get<std::uint64_t>(Slot(found.joined ? 1 : 0) + kId), handle.MyId());
        close(keepsInodeBusy);
    }
}

TEST_F(SegmentLifecycle, AFreshSegmentIsNotStaleBeforeSomebodyHasClaimedASlot) {
    for (const int age : {0, 60}) {
        Make(kBytes, 10, "GRDT", 0, 0);
        Segment().Put(Slot(0) + kId, std::uint64_t{0});
        Age(age);
        TessellaDuckworkSHM::ForceCleanIfStale(10);
        EXPECT_EQ(access(kPath, F_OK) == 0, age == 0) << age << " s old";
    }
}

TEST_F(SegmentLifecycle, LandsWhereTheNameLeadsThoughTheSegmentIsReplacedMeanwhile) {
    TessellaDuckworkSHM keeper, late;
    ASSERT_TRUE(keeper.Open());
    Segment old;
    pthread_mutex_lock(old.Mutex());
    std::thread opening([&late] { EXPECT_TRUE(late.Open()); });
    std::this_thread::sleep_for(100ms); // it waits for the lock; if not yet, it has it easier
    Remove();
    pthread_mutex_unlock(old.Mutex());
    opening.join();
    EXPECT_EQ(access(kPath, F_OK), 0);
    EXPECT_EQ(old.Get<std::uint8_t>(Slot(1) + kActive), 0) << "given back";
}

TEST_F(SegmentLifecycle, SweepsTheDeadAndListsTheOthers) {
    std::array<TessellaDuckworkSHM, 5> handles;
    for (auto& handle : handles)
        ASSERT_TRUE(handle.Open());
    Segment segment;
    // The sweeper itself; one just in time; one before a clock was set back; two dead.
    constexpr std::array<std::int64_t, 5> kAges{100, 10, -1000, 11, 1'000'000'000'000};
    std::memset(segment.base + Slot(1) + kName, 'x', 64); // a foreign name without end
    std::vector<TDInstanceInfo> list(3);
    ASSERT_TRUE(handles[0].GetActiveInstances(list));
    ASSERT_EQ(list.size(), 4U) << "oneself never";
    EXPECT_TRUE(list[0].id == handles[1].MyId() && list[0].name == std::string(63, 'x'));

    std::int64_t now = 0;
    do { // within one second
        now = shm::Now();
        for (std::size_t k = 0; k < 5; ++k) {
            segment.Put(Slot(k) + kHeartbeat, now - kAges[k]);
            segment.Put(Slot(k) + kActive, std::uint8_t{1});
        }
        handles[0].CleanDead();
    } while (shm::Now() != now);
    for (std::size_t k = 0; k < 5; ++k)
        EXPECT_EQ(segment.Get<std::uint8_t>(Slot(k) + kActive), k < 3 ? 1 : 0) << k;
    EXPECT_EQ(segment.Get<std::int32_t>(kHighWater), 3);
    handles[3].Touch();
    EXPECT_EQ(segment.Get<std::uint8_t>(Slot(3) + kActive), 1);
    handles[4].WriteAudioCycle(kZeros, kZeros, nullptr, 0, false);
    EXPECT_EQ(segment.Get<std::uint8_t>(Slot(4) + kActive), 1) << "a running audio thread, too";
}

TEST_F(SegmentLifecycle, AnInstanceWhoseSlotIsTakenWritesNowhereAndComesBackInAnother) {
    TessellaDuckworkSHM peer, handle;
    ASSERT_TRUE(peer.Open() && handle.Open());
    handle.SetDisplayName("kick");
    handle.WriteHpLp(40, 8000);
    handle.SetMyBypass(true);
    handle.SetMyLatency(77);
    handle.WriteControls(7, 8, 9);
    handle.SetRemoteId(peer.MyId());
    TessellaDuckworkSHM::TDAudioReadCycle cycle;
    handle.ReadAudioCycle(0, 1, 1, cycle, nullptr, 0);

    Segment segment;
    const std::string taken(5376, '\x5A'); // by a newcomer with odd habits
    std::memcpy(segment.base + Slot(1), taken.data(), taken.size());
    segment.Put(Slot(1) + kActive, std::uint8_t{1});
    const std::string before(segment.base + Slot(1), 5376);
    const TDBand band;
    handle.SetDisplayName("x");
    EXPECT_EQ(handle.WriteBands(&band, 1) + handle.WriteHpLp(1, 2) + handle.WriteControls(1, 2, 3),
              0U);
    EXPECT_FALSE(handle.SetMyLatency(1) || handle.PublishDuckSelf(true) || handle.ReadMyDuckSelf());
    handle.WriteState(kZeros);
    handle.WriteBins(kZeros, 3);
    handle.SetMyBypass(false);
    EXPECT_FALSE(handle.WriteAudioCycle(kZeros, kZeros, kZeros, 3, true));
    cycle = {};
    EXPECT_FALSE(handle.ReadAudioCycle(0, 1, 0, cycle, nullptr, 0));
    EXPECT_TRUE(cycle.bypass && !cycle.hpLpChanged) << "bypassed as before, and no foreign edits";
    EXPECT_EQ(handle.RemoteId(), peer.MyId());
    handle.Touch();
    EXPECT_EQ(std::string(segment.base + Slot(1), 5376), before);

    EXPECT_EQ(segment.Get<std::uint64_t>(Slot(2) + kId), handle.MyId());
    EXPECT_EQ(std::string(segment.base + Slot(2) + kName), "kick");
    EXPECT_EQ(segment.Get<std::uint64_t>(Slot(2) + kRemote), peer.MyId());
    EXPECT_EQ(segment.Get<std::int32_t>(Slot(2) + kLatency), 77);
    EXPECT_EQ((segment.Get<std::array<float, 3>>(Slot(2) + kControls)),
              (std::array{7.0F, 8.0F, 9.0F}));
    EXPECT_EQ((segment.Get<std::array<float, 2>>(Slot(2) + kHp)), (std::array{40.0F, 8000.0F}));
    EXPECT_TRUE(handle.ReadAudioCycle(0, 1, 0, cycle, nullptr, 0));
    EXPECT_TRUE(cycle.bypass && !cycle.hpLpChanged) << "nor is its own past news";

    segment.Put(Slot(2) + kId, std::uint64_t{88}); // taken once more, and the peer has gone on
    segment.Put(Slot(0) + kRemote, std::uint64_t{88});
    handle.Touch();
    EXPECT_EQ(segment.Get<std::uint64_t>(Slot(3) + kId), handle.MyId());
    EXPECT_EQ(segment.Get<std::uint64_t>(Slot(3) + kRemote), 0U) << "a pairing that it has dropped";
    segment.Put(Slot(3) + kId, std::uint64_t{77});
    handle.Close();
    EXPECT_EQ(segment.Get<std::uint8_t>(Slot(3) + kActive), 1) << "not its to close";
}

} // namespace
