#include "shm/TessellaDuckworkSHM.h"
#include "tests/support/Test.h"

namespace {

using namespace raw;
using Three = std::array<float, 3>;

/// A in slot 0, paired with B in slot 1.
class Settings : public RegistryTest {
protected:
    void SetUp() override {
        RegistryTest::SetUp();
        ASSERT_TRUE(a.Open() && b.Open());
        segment.emplace();
        a.SetRemoteId(b.MyId());
    }
    template <class T>
    T At(std::size_t slot, std::size_t offset) {
        return segment->Get<T>(Slot(slot) + offset);
    }
    TessellaDuckworkSHM a, b, closed;
    std::optional<Segment> segment;
};

TEST_F(Settings, LandAtTheirOffsetsAndEndThere) {
    a.SetDisplayName(std::string(100, 'n').c_str());
    EXPECT_TRUE(At<char>(0, kName + 62) == 'n' && At<char>(0, kName + 63) == '\0');
    a.SetDisplayName("kick");
    EXPECT_EQ(At<std::uint64_t>(0, kName + 55), 0U) << "the former name is wiped";
    a.SetMyLatency(1024);
    EXPECT_EQ(At<std::int32_t>(0, kLatency), 1024);
    std::array<float, 400> bins;
    bins.fill(7);
    a.WriteBins(bins.data(), 400);
    a.WriteBins(bins.data(), -1);
    EXPECT_EQ(At<float>(0, kDisplayBins + 4 * 255), 7);
    EXPECT_EQ(At<float>(0, kAudioBins), 0) << "400 bins must not run into the next field";
}

TEST_F(Settings, BandSetsAreClamped) {
    const std::array<TDBand, 5> five{{{1, 2, 3, 4, true}, {5, 6, 7, 8, false}, {9, 10, 11, 12}}};
    std::array<TDBand, 8> out;
    int count = 0;
    EXPECT_EQ(b.WriteBands(five.data(), 5), 1U);
    EXPECT_EQ(At<std::int32_t>(1, kBandCount), 3);
    EXPECT_EQ(At<Three>(1, kBands + 20), (Three{5, 6, 7}));
    EXPECT_EQ(At<std::uint32_t>(1, kBands + 16), 1U);
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
    segment->Put(Slot(1) + kBandCount, std::int32_t{7});
    segment->Put(Slot(1) + kBands + 36, std::uint8_t{2});
    EXPECT_EQ(b.ReadOwnBands(out.data(), count, 8), 3U);
    EXPECT_EQ(count, 3);
    EXPECT_TRUE(out[0].enabled && out[1].enabled);
    Three values{};
    EXPECT_EQ(closed.ReadRemoteControls(values[0], values[1], values[2]), 0U);
    EXPECT_EQ(values, (Three{10, 100, 0})) << "the defaults";
}

TEST_F(Settings, FlagsByIdAndTheirCache) {
    a.SetBypassOf(b.MyId(), true);
    a.SetDuckSelfOf(b.MyId(), true);
    EXPECT_EQ(At<std::uint16_t>(1, kBypass), 0x0101);
    EXPECT_TRUE(a.ReadBypassOf(b.MyId()) && b.ReadMyBypass());
    b.SetMyBypass(false);
    b.PublishDuckSelf(false);
    EXPECT_FALSE(a.ReadBypassOf(b.MyId()) || a.ReadDuckSelfOf(b.MyId()));
    EXPECT_TRUE(!a.ReadBypassOf(99) && a.ReadDuckSelfOf(99)) << "as if it ran undisturbed";
    EXPECT_TRUE(!closed.ReadMyBypass() && closed.ReadDuckSelfOf(b.MyId()));
    const HeldLock held;
    EXPECT_TRUE(b.ReadMyBypass()) << "busy: as last read";
}

/// Whom A, B, C, D point at before and after A pairs with the target.
TEST(Pairing, LinksAndReleases) {
    constexpr std::size_t kNone = 4, kUnknown = 5;
    using Links = std::array<std::size_t, 4>;
    const struct {
        const char* what;
        Links before;
        std::size_t target;
        Links after;
    } cases[] = {{"both sides point at each other", {kNone, kNone, 3, 2}, 1, {1, 0, 3, 2}},
                 {"repeating changes nothing", {1, 0, 3, 2}, 1, {1, 0, 3, 2}},
                 {"A leaves B and takes C from D", {1, 0, 3, 2}, 2, {2, kNone, 0, kNone}},
                 {"B and D had moved on already", {1, 3, 3, 1}, 2, {2, 3, 0, 1}},
                 {"unpairing frees both", {1, 0, 3, 2}, kNone, {kNone, kNone, 3, 2}},
                 {"unpairing spares one moved on", {1, 2, 1, kNone}, kNone, {kNone, 2, 1, kNone}},
                 {"an unknown id is kept", {1, 0, 3, 2}, kUnknown, {kUnknown, kNone, 3, 2}},
                 {"a dangling link is replaced", {kUnknown, kUnknown, 3, 2}, 1, {1, 0, 3, 2}}};
    for (const auto& [what, before, target, after] : cases) {
        SCOPED_TRACE(what);
        Remove();
        std::array<TessellaDuckworkSHM, 4> handles;
        std::array<std::uint64_t, 6> ids{0, 0, 0, 0, 0, 99};
        for (std::size_t k = 0; k < 4; ++k) {
            ASSERT_TRUE(handles[k].Open());
            ids[k] = handles[k].MyId();
        }
        Segment segment;
        for (std::size_t k = 0; k < 4; ++k)
            segment.Put(Slot(k) + kRemote, ids[before[k]]);
        handles[0].SetRemoteId(ids[target]);
        EXPECT_EQ(handles[0].WriteRemoteHpLp(1, 2) != 0, target < 4);
        for (std::size_t k = 0; k < 4; ++k) {
            EXPECT_EQ(segment.Get<std::uint64_t>(Slot(k) + kRemote), ids[after[k]]) << k;
            handles[k].SyncRemoteId();
            EXPECT_EQ(handles[k].RemoteId(), ids[after[k]]);
        }
    }
}

} // namespace
