#include "shm/TessellaDuckworkSHM.h"
#include "tests/support/Test.h"

namespace {

using namespace raw;
using Settings = RegistryTest;

TEST_F(Settings, OfAForeignWriterAreReadAsTheyCanBe) {
    TessellaDuckworkSHM handle, closed;
    ASSERT_TRUE(handle.Open());
    Segment segment;
    std::array<TDBand, 8> out;
    int count = 0;
    for (const auto& [written, read] : {std::pair{7, 3}, {-5, 0}}) {
        segment.Put(Slot(0) + kBandCount, std::int32_t{written});
        segment.Put(Slot(0) + kBands + 16, std::uint8_t{2}); // neither false nor true
        handle.ReadOwnBands(out.data(), count, 8);
        EXPECT_EQ(count, read);
        EXPECT_TRUE(out[0].enabled);
    }
    std::array<float, 5> values{};
    EXPECT_EQ(closed.ReadRemoteControls(values[0], values[1], values[2]), 0U);
    EXPECT_EQ(closed.ReadRemoteHpLp(values[3], values[4]), 0U);
    EXPECT_EQ(values, (std::array{10.0F, 100.0F, 0.0F, 20.0F, 20000.0F})) << "the defaults";
}

TEST_F(Settings, FlagsByIdAndTheirCache) {
    TessellaDuckworkSHM a, b, closed;
    ASSERT_TRUE(a.Open() && b.Open());
    a.SetBypassOf(b.MyId(), true);
    a.SetDuckSelfOf(b.MyId(), true);
    EXPECT_EQ(Segment().Get<std::uint16_t>(Slot(1) + kBypass), 0x0101);
    EXPECT_TRUE(a.ReadBypassOf(b.MyId()) && b.ReadMyBypass());
    b.SetMyBypass(false);
    b.PublishDuckSelf(false);
    EXPECT_FALSE(a.ReadBypassOf(b.MyId()) || a.ReadDuckSelfOf(b.MyId()));
    EXPECT_TRUE(!a.ReadBypassOf(99) && a.ReadDuckSelfOf(99)) << "as if it ran undisturbed";
    EXPECT_TRUE(!closed.ReadMyBypass() && closed.ReadDuckSelfOf(b.MyId()));
    const HeldLock held;
    EXPECT_TRUE(b.ReadMyBypass()) << "busy: as last read";
}

TEST_F(Settings, OfAFormerPeerThatHasGoneOnAreLeftAlone) {
    TessellaDuckworkSHM a, b, c;
    ASSERT_TRUE(a.Open() && b.Open() && c.Open());
    Segment segment;
    segment.Put(Slot(0) + kRemote, b.MyId());
    segment.Put(Slot(1) + kRemote, c.MyId());
    a.SetRemoteId(0);
    EXPECT_EQ(segment.Get<std::uint64_t>(Slot(1) + kRemote), c.MyId());
}

} // namespace
