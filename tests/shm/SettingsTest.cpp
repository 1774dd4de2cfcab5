#include "shm/RegistryMonitor.h"
#include "shm/TessellaDuckworkSHM.h"
#include "tests/shm/RawSegment.h"

#include <array>
#include <optional>

namespace {

using namespace raw;

/// A in slot 0, paired with B in slot 1.
class Settings : public RegistryTest {
protected:
    void SetUp() override {
        RegistryTest::SetUp();
        ASSERT_TRUE(a.Open());
        ASSERT_TRUE(b.Open());
        segment.emplace();
        a.SetRemoteId(b.MyId());
    }
    template <class T>
    T At(int slot, std::size_t offset) {
        return segment->Get<T>(Slot(slot) + offset);
    }
    template <class T>
    void Put(int slot, std::size_t offset, T value) {
        segment->Put(Slot(slot) + offset, value);
    }
    TessellaDuckworkSHM a, b, closed;
    std::optional<Segment> segment;
};

TEST_F(Settings, LandAtTheirOffsets) {
    a.SetDisplayName(std::string(100, 'n').c_str());
    EXPECT_EQ(segment->Name(0), std::string(63, 'n') + '\0');
    a.SetDisplayName("kick");
    EXPECT_EQ(segment->Name(0), std::string("kick") + std::string(60, '\0'));
    a.SetMyLatency(1024);
    EXPECT_EQ(At<std::int32_t>(0, kLatency), 1024);
    Put(0, kHeartbeat, std::int64_t{1});
    const std::array<float, 3> state{1, 2, 3};
    a.WriteState(state.data());
    EXPECT_EQ((At<std::array<float, 3>>(0, kState)), state);
    EXPECT_GT(At<std::int64_t>(0, kHeartbeat), 1);
    std::array<float, 400> bins;
    bins.fill(7);
    a.WriteBins(bins.data(), 400);
    EXPECT_EQ(At<float>(0, kDisplayBins + 4 * 255), 7);
    EXPECT_EQ(At<float>(0, kAudioBins), 0) << "400 bins must not run into the next field";
    a.WriteBins(bins.data(), -1);

    // HP/LP and controls: own and remote writers meet in one group with one counter.
    EXPECT_EQ(b.WriteHpLp(30, 9000), 1U);
    EXPECT_EQ(a.WriteRemoteHpLp(40, 8000), 2U);
    EXPECT_EQ(At<float>(1, kHp), 40);
    EXPECT_EQ(At<float>(1, kLp), 8000);
    EXPECT_EQ(At<std::uint64_t>(1, kHpLpSeq), 2U);
    EXPECT_EQ(b.WriteControls(1, 2, 3), 1U);
    EXPECT_EQ(b.TryWriteControls(7, 8, 9), std::optional<std::uint64_t>(2));
    EXPECT_EQ(a.WriteRemoteControls(4, 5, 6), 3U);
    EXPECT_EQ((At<std::array<float, 3>>(1, kControls)), (std::array<float, 3>{4, 5, 6}));
    EXPECT_EQ(At<std::uint64_t>(1, kControlsSeq), 3U);
    float x = 0, y = 0, z = 0;
    EXPECT_EQ(a.ReadRemoteHpLp(x, y), 2U);
    EXPECT_EQ(b.ReadOwnControls(x, y, z), 3U);
    EXPECT_EQ((std::array{x, y, z}), (std::array{4.0F, 5.0F, 6.0F}));

    // Every reader fails to its defaults, every counter to 0.
    int count = 9;
    EXPECT_EQ(closed.ReadRemoteControls(x, y, z), 0U);
    EXPECT_EQ((std::array{x, y, z}), (std::array{10.0F, 100.0F, 0.0F}));
    EXPECT_EQ(closed.ReadRemoteBands(nullptr, count, 3), 0U);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(closed.TryWriteControls(1, 2, 3), std::optional<std::uint64_t>(0));
    closed.SetRemoteId(5);
    EXPECT_EQ(closed.RemoteId(), 5U);
}

TEST_F(Settings, BandSetsAreClamped) {
    const std::array<TDBand, 5> five{{{1, 2, 3, 4, true}, {5, 6, 7, 8, false}, {9, 10, 11, 12}}};
    std::array<TDBand, 8> out;
    int count = 0;
    EXPECT_EQ(b.WriteBands(five.data(), 5), 1U);
    EXPECT_EQ(At<std::int32_t>(1, kBandCount), 3);
    EXPECT_EQ((At<std::array<float, 4>>(1, kBands + 20)), (std::array<float, 4>{5, 6, 7, 8}));
    EXPECT_EQ(At<std::uint32_t>(1, kBands + 16), 1U);
    EXPECT_EQ(At<std::uint32_t>(1, kBands + 36), 0U);
    EXPECT_EQ(At<float>(1, kHp), 0) << "the fourth band must not run into the next field";
    EXPECT_EQ(a.ReadRemoteBands(out.data(), count, 1), 1U);
    EXPECT_EQ(count, 1);

    EXPECT_EQ(b.WriteBands(nullptr, 0), 2U);
    EXPECT_EQ(a.WriteRemoteBands(nullptr, -5), 3U);
    EXPECT_EQ(At<std::int32_t>(1, kBandCount), -5);
    EXPECT_EQ(At<float>(1, kBands), 1) << "entries beyond the count stay";
    EXPECT_EQ(b.ReadOwnBands(out.data(), count, 3), 3U);
    EXPECT_EQ(count, 0);

    // A foreign writer: more bands than there are, and a bool that is neither 0 nor 1.
    Put(1, kBandCount, std::int32_t{7});
    Put(1, kBands + 36, std::uint8_t{2});
    EXPECT_EQ(b.ReadOwnBands(out.data(), count, 8), 3U);
    EXPECT_EQ(count, 3);
    EXPECT_TRUE(out[0].enabled && out[1].enabled);
    EXPECT_EQ(out[2].loHz, 9);
}

TEST_F(Settings, FlagsByIdAndTheirCache) {
    a.SetBypassOf(b.MyId(), true);
    a.SetDuckSelfOf(b.MyId(), true);
    EXPECT_EQ(At<std::uint8_t>(1, kBypass), 1);
    EXPECT_EQ(At<std::uint8_t>(1, kDuckSelf), 1);
    EXPECT_TRUE(a.ReadBypassOf(b.MyId()));
    EXPECT_TRUE(b.ReadMyBypass());
    b.SetMyBypass(false);
    b.PublishDuckSelf(false);
    EXPECT_FALSE(a.ReadBypassOf(b.MyId()));
    EXPECT_FALSE(a.ReadDuckSelfOf(b.MyId()));
    {
        const HeldLock held;
        EXPECT_TRUE(b.ReadMyBypass()) << "busy: as last read";
    }
    EXPECT_FALSE(b.ReadMyBypass());
    for (const std::uint64_t nobody : {std::uint64_t{0}, std::uint64_t{99}}) {
        EXPECT_FALSE(a.ReadBypassOf(nobody));
        EXPECT_TRUE(a.ReadDuckSelfOf(nobody));
    }
    EXPECT_FALSE(closed.ReadMyBypass());
    EXPECT_TRUE(closed.ReadDuckSelfOf(b.MyId()));
}

TEST_F(Settings, MonitorReadsAndEditsWithoutASlot) {
    shm::RegistryMonitor monitor;
    std::vector<shm::SlotSnapshot> slots;
    EXPECT_FALSE(monitor.ReadSlots(slots));
    ASSERT_TRUE(monitor.Attach());
    EXPECT_TRUE(monitor.Unpair(a.MyId()));
    EXPECT_TRUE(monitor.Pair(b.MyId(), a.MyId()));
    EXPECT_FALSE(monitor.Pair(a.MyId(), 99)) << "a tool makes no dangling links";
    EXPECT_FALSE(monitor.Pair(a.MyId(), a.MyId()));
    EXPECT_TRUE(monitor.Rename(b.MyId(), "snare"));
    const std::array<TDBand, 2> bands{};
    EXPECT_EQ(monitor.WriteBandsOf(b.MyId(), bands.data(), 2), 1U);
    EXPECT_EQ(monitor.WriteHpLpOf(b.MyId(), 50, 60), 1U);
    EXPECT_EQ(monitor.WriteControlsOf(b.MyId(), 1, 2, 3), 1U);
    EXPECT_TRUE(monitor.SetBypassOf(b.MyId(), true));
    EXPECT_FALSE(monitor.SetDuckSelfOf(99, true));
    ASSERT_TRUE(monitor.ReadSlots(slots));
    ASSERT_EQ(slots.size(), 16U);
    EXPECT_EQ(slots[0].remoteId, b.MyId());
    EXPECT_FALSE(slots[2].active);
    EXPECT_STREQ(slots[1].name, "snare");
    EXPECT_EQ(slots[1].bandCount, 2);
    EXPECT_EQ(slots[1].lpHz, 60);
    EXPECT_EQ(slots[1].makeupDb, 3);
    EXPECT_TRUE(slots[1].bypass && !slots[1].duckSelf);
    const HeldLock held;
    EXPECT_FALSE(monitor.ReadSlots(slots));
    EXPECT_STREQ(slots.at(1).name, "snare") << "copied all the same";
}

constexpr int kNone = -1, kUnknown = 9;
struct Pairing {
    const char* what;
    std::array<int, 4> before; ///< Whom A, B, C, D point at: 0 to 3, kNone or kUnknown.
    int target;                ///< Whom A pairs with.
    std::array<int, 4> after;
};
class PairingRule : public RegistryTest, public testing::WithParamInterface<Pairing> {};

TEST_P(PairingRule, LinksAndReleases) {
    const Pairing& row = GetParam();
    std::array<TessellaDuckworkSHM, 4> handles;
    for (auto& handle : handles)
        ASSERT_TRUE(handle.Open());
    const auto idOf = [&handles](int who) {
        return who == kNone      ? std::uint64_t{0}
               : who == kUnknown ? std::uint64_t{99}
                                 : handles[static_cast<std::size_t>(who)].MyId();
    };
    Segment segment;
    for (int k = 0; k < 4; ++k)
        segment.Put(Slot(k) + kRemote, idOf(row.before[static_cast<std::size_t>(k)]));
    handles[0].SetRemoteId(idOf(row.target));
    EXPECT_EQ(handles[0].RemoteId(), idOf(row.target));
    for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_EQ(segment.Get<std::uint64_t>(Slot(static_cast<int>(k)) + kRemote),
                  idOf(row.after[k]))
            << row.what << ": "
            << "ABCD"[k];
        handles[k].SyncRemoteId();
        EXPECT_EQ(handles[k].RemoteId(), idOf(row.after[k]));
    }
    if (row.target == kUnknown) {
        EXPECT_EQ(handles[0].WriteRemoteHpLp(1, 2), 0U);
    }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(table, PairingRule, testing::Values(
    Pairing{"both sides point at each other", {kNone, kNone, 3, 2}, 1, {1, 0, 3, 2}},
    Pairing{"repeating changes nothing",      {1, 0, 3, 2}, 1, {1, 0, 3, 2}},
    Pairing{"A leaves B and takes C from D",  {1, 0, 3, 2}, 2, {2, kNone, 0, kNone}},
    Pairing{"B and D had moved on already",   {1, 3, 3, 1}, 2, {2, 3, 0, 1}},
    Pairing{"unpairing frees both",           {1, 0, 3, 2}, kNone, {kNone, kNone, 3, 2}},
    Pairing{"unpairing spares one moved on",  {1, 2, 1, kNone}, kNone, {kNone, 2, 1, kNone}},
    Pairing{"an unknown id is kept",          {1, 0, 3, 2}, kUnknown, {kUnknown, kNone, 3, 2}},
    Pairing{"a dangling link is replaced",    {kUnknown, kUnknown, 3, 2}, 1, {1, 0, 3, 2}}));
// clang-format on

} // namespace
