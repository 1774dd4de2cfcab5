#include "tests/support/Test.h"
#include "tests/support/Plugged.h"

namespace {

iplug::IByteChunk chunkOf(const Bytes& bytes) {
    iplug::IByteChunk chunk;
    chunk.PutBytes(bytes.data(), bytes.size());
    return chunk;
}

struct Side : support::Plugged {
    explicit Side(std::size_t slotIndex) : Plugged(slotIndex) { start(); }
};

/// The ends of the fields as documented; each begins where the one before it ends. A chunk that is
/// cut inside a field lacks it.
std::vector<std::size_t> documentedEnds() {
    std::vector<std::size_t> ends = {64,  68,  92,  95,  159, 163, 187, 199,
                                     211, 214, 218, 222, 226, 230, 234};
    for (std::size_t param = 1; param <= 14; ++param)
        ends.push_back(234 + 8 * param);
    ends.insert(ends.end(), {354, 362, 366}); // tag and version, both sizes, flag
    return ends;
}

TEST(StateChunk, CutAnywhereGivesTheFieldsThatFit) {
    const Bytes before = chunkFile("before"), full = chunkFile("full");
    const auto ends = documentedEnds();
    Side side(0);
    for (std::size_t length = 0; length <= full.size(); ++length) {
        ASSERT_EQ(side.load(before), 366);
        const auto next = std::ranges::upper_bound(ends, length);
        const std::size_t end = next == ends.begin() ? 0 : next[-1];
        Bytes expected = before;
        std::copy_n(full.begin(), end, expected.begin());
        if (length < 68) // no band count
            support::put(expected, support::kCountAt, std::int32_t{1});
        const int result = end < 242 ? -1 : static_cast<int>(end); // 242: behind one parameter
        ASSERT_EQ(side.load({full.begin(), full.begin() + std::ptrdiff_t(length)}), result)
            << length;
        ASSERT_EQ(side.saved(), expected) << "cut to " << length;
    }
    Bytes shifted = full;
    shifted.insert(shifted.begin(), 5, std::uint8_t{0xFF});
    for (const auto& [start, result] : {std::pair{-1, -1}, {INT_MAX, -1}, {5, 371}})
        EXPECT_EQ(side.plug.UnserializeState(chunkOf(shifted), start), result) << start;
    EXPECT_EQ(side.saved(), full);
}

TEST(StateChunk, WithoutATrailerEndsBehindTheEditorsSize) {
    Side side(0);
    ASSERT_EQ(side.load(chunkFile("before")), 366); // does not duck
    Bytes chunk = chunkFile("full");
    chunk.erase(chunk.begin() + 346, chunk.begin() + 354);
    EXPECT_EQ(side.load(chunk), 354);
    EXPECT_FALSE(side.plug.Own().DuckSelf()) << "what follows is no flag";
}

TEST(ShadowPeer, IsWrittenOnceToALinkedPeerAfterEachRecordAndLoad) {
    Side own(0), peer(1);
    ASSERT_EQ(own.load(chunkFile("full")), 366);
    EXPECT_FALSE(own.plug.Peer().ApplyShadowPeerToSHM()) << "nobody is linked";
    peer.plug.SetInstanceName("Bass"); // as remembered
    ASSERT_TRUE(own.monitor.Pair(own.id, peer.id));
    EXPECT_TRUE(own.plug.Peer().ApplyShadowPeerToSHM());
    EXPECT_FALSE(own.plug.Peer().ApplyShadowPeerToSHM()) << "once";
    const auto slot = peer.slot();
    ASSERT_EQ(slot.bandCount, 3);
    const TDBand& last = slot.bands[2];
    EXPECT_EQ((std::array{last.loHz, last.hiHz, last.threshDb, last.ratio}),
              (std::array{3000.0F, 12000.0F, -33.5F, 3.5F}));
    EXPECT_TRUE(slot.bands[0].enabled && !slot.bands[1].enabled && last.enabled);
    EXPECT_EQ((std::array{slot.hpHz, slot.lpHz, slot.attackMs, slot.releaseMs, slot.makeupDb}),
              (std::array{35.0F, 16000.0F, 7.5F, 75.0F, 3.25F}));
    peer.block();
    EXPECT_EQ(peer.value(HP), 35.0) << "the peer takes it";

    const std::vector<TDBand> noWidth(5, {.loHz = 500.0F, .hiHz = 500.0F});
    const struct {
        const char* what;
        std::function<void()> record;
        int savedBands;
        unsigned bandWrites, otherWrites;
        float hpHz;
    } cases[] = {
        {"filters", [&] { own.plug.Peer().RecordShadowPeerHpLp(99.0F, 9999.0F); }, 3, 1, 1, 99.0F},
        {"a load", [&] { own.load(chunkFile("full")); }, 3, 1, 1, 35.0F},
        {"bands without width", [&] { own.plug.Peer().RecordShadowPeerBands(noWidth.data(), 5); },
         3, 0, 1, 35.0F},
        {"none", [&] { own.plug.Peer().RecordShadowPeerBands(nullptr, 1); }, 0, 0, 0, 35.0F},
        {"controls, the rest as cleared",
         [&] { own.plug.Peer().RecordShadowPeerControls(5.0F, 50.0F, 1.0F); }, 1, 0, 1, 20.0F}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const auto before = peer.slot();
        c.record();
        EXPECT_EQ(support::get<std::int32_t>(own.saved(), support::kShadowAt), c.savedBands);
        own.plug.Peer().ApplyShadowPeerToSHM(); // a load has done so by itself
        EXPECT_FALSE(own.plug.Peer().ApplyShadowPeerToSHM());
        const auto after = peer.slot();
        EXPECT_EQ(after.bandsSeq, before.bandsSeq + c.bandWrites);
        EXPECT_EQ(after.hpLpSeq, before.hpLpSeq + c.otherWrites);
        EXPECT_EQ(after.controlsSeq, before.controlsSeq + c.otherWrites);
        EXPECT_EQ(after.hpHz, c.hpHz);
    }
    EXPECT_EQ(peer.slot().releaseMs, 50.0F);
}

} // namespace
