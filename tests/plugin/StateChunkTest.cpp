#include "tests/plugin/Plugged.h"
#include "tests/support/Chunks.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>

namespace {

using support::Bytes;
using support::chunkFile;

iplug::IByteChunk chunkOf(const Bytes& bytes) {
    iplug::IByteChunk chunk;
    chunk.PutBytes(bytes.data(), bytes.size());
    return chunk;
}

struct Side : support::Plugged {
    explicit Side(std::size_t slotIndex) : Plugged(slotIndex) { start(); }

    int load(const Bytes& bytes) { return plug.UnserializeState(chunkOf(bytes), 0); }
    [[nodiscard]] Bytes saved() {
        iplug::IByteChunk chunk;
        EXPECT_TRUE(plug.SerializeState(chunk));
        return {chunk.Data(), chunk.Data() + chunk.Size()};
    }
    [[nodiscard]] int savedShadowCount() {
        return support::get<std::int32_t>(saved(), support::kShadowAt);
    }
};

struct Field {
    std::size_t at, bytes;
};

/// The fields as documented, by the bytes that must be there for them to be taken.
std::vector<Field> documentedFields() {
    std::vector<Field> fields = {{0, 64},  {64, 4},   {68, 24},  {92, 3},   {95, 64},
                                 {159, 4}, {163, 24}, {187, 12}, {199, 12}, {211, 3},
                                 {214, 4}, {218, 4},  {222, 4},  {226, 4},  {230, 4}};
    for (std::size_t param = 0; param < 14; ++param)
        fields.push_back({234 + 8 * param, 8});
    fields.insert(fields.end(), {{346, 8}, {354, 8}, {362, 4}});
    return fields;
}

TEST(StateChunk, CutAnywhereGivesTheFieldsThatFit) {
    const Bytes before = chunkFile("before");
    const Bytes full = chunkFile("full");
    const std::vector<Field> fields = documentedFields();
    Side side(0);
    for (std::size_t length = 0; length <= full.size(); ++length) {
        ASSERT_EQ(side.load(before), 366);
        Bytes expected = before;
        std::size_t end = 0;
        for (const Field& field : fields)
            if (field.at + field.bytes <= length) {
                end = field.at + field.bytes;
                std::copy_n(full.begin() + std::ptrdiff_t(field.at), field.bytes,
                            expected.begin() + std::ptrdiff_t(field.at));
            }
        if (length < 68) // no band count
            support::put(expected, support::kCountAt, std::int32_t{1});
        const int result = end < 242 ? -1 : static_cast<int>(end); // 242: behind one parameter
        ASSERT_EQ(side.load({full.begin(), full.begin() + std::ptrdiff_t(length)}), result)
            << length;
        ASSERT_EQ(side.saved(), expected) << "cut to " << length;
    }
}

TEST(StateChunk, StartsWhereItIsToldInsideTheBytes) {
    Side side(0);
    Bytes bytes = chunkFile("full");
    bytes.insert(bytes.begin(), 5, std::uint8_t{0xFF});
    for (const int start : {-1, 1000, std::numeric_limits<int>::max()})
        EXPECT_EQ(side.plug.UnserializeState(chunkOf(bytes), start), -1) << start;
    EXPECT_EQ(side.plug.UnserializeState(chunkOf(bytes), 5), 371);
    EXPECT_EQ(side.saved(), chunkFile("full"));
}

/// A settings group with one of its parameters, and who may write it.
struct Group {
    const char* name;
    int index;
    double peers, hosts; ///< the value that the peer writes; another one
    void (*writeOwn)(Side& side);
    void (*writeAsPeer)(Side& side);
};

void loadAny(Side& side) { side.load(chunkFile("full")); }
const TDBand kPeersBand{.threshDb = -44.0F};
const Group kGroups[] = {{"bands", ThreshLow, -44.0, -7.0, loadAny,
                          [](Side& s) { s.monitor.WriteBandsOf(s.id, &kPeersBand, 1); }},
                         {"filters", HP, 77.0, 33.0, loadAny,
                          [](Side& s) { s.monitor.WriteHpLpOf(s.id, 77.0F, 9000.0F); }},
                         {"controls by a load", Makeup, 7.0, 2.0, loadAny,
                          [](Side& s) { s.monitor.WriteControlsOf(s.id, 7.0F, 77.0F, 7.0F); }},
                         {"controls by a change", Makeup, 7.0, 2.0,
                          [](Side& s) { s.plug.OnParamChange(Makeup); },
                          [](Side& s) { s.monitor.WriteControlsOf(s.id, 7.0F, 77.0F, 7.0F); }}};

TEST(StateSync, TakesAPeersWriteOnceAndNeverItsOwn) {
    Side sides[2] = {Side(0), Side(1)};
    for (const Group& group : kGroups)
        for (const bool inBlock : {false, true})
            for (Side& side : sides) {
                const std::string what = std::string(group.name) + (inBlock ? ", in a block" : "");
                iplug::IParam& param = side.plug.GetParam(group.index);
                // The value after a take: the host's if nothing was taken.
                const auto taken = [&] {
                    param.Set(group.hosts);
                    inBlock ? side.block() : side.plug.FlushSHMToParams();
                    return param.Value();
                };
                const auto others = sides[1 - side.index].slot();
                group.writeOwn(side);
                EXPECT_EQ(taken(), group.hosts) << "own write: " << what;
                group.writeAsPeer(side);
                EXPECT_EQ(taken(), group.peers) << what;
                EXPECT_EQ(taken(), group.hosts) << "a second time: " << what;
                group.writeAsPeer(side);
                group.writeOwn(side);
                EXPECT_EQ(taken(), group.hosts) << "the later write wins: " << what;
                const auto untouched = sides[1 - side.index].slot();
                EXPECT_EQ(untouched.bandsSeq + untouched.hpLpSeq + untouched.controlsSeq,
                          others.bandsSeq + others.hpLpSeq + others.controlsSeq);
            }
}

TEST(ShadowPeer, IsWrittenOnceToALinkedPeer) {
    Side own(0), peer(1);
    ASSERT_EQ(own.load(chunkFile("full")), 366);
    EXPECT_FALSE(own.plug.ApplyShadowPeerToSHM()) << "nobody is linked";
    ASSERT_TRUE(own.monitor.Pair(own.id, peer.id));
    own.block(); // takes the link over
    EXPECT_TRUE(own.plug.ApplyShadowPeerToSHM());
    EXPECT_FALSE(own.plug.ApplyShadowPeerToSHM()) << "once";
    auto slot = peer.slot();
    ASSERT_EQ(slot.bandCount, 3);
    const TDBand& last = slot.bands[2];
    EXPECT_EQ((std::array{last.loHz, last.hiHz, last.threshDb, last.ratio}),
              (std::array{3000.0F, 12000.0F, -33.5F, 3.5F}));
    EXPECT_TRUE(slot.bands[0].enabled && !slot.bands[1].enabled && last.enabled);
    EXPECT_EQ((std::array{slot.hpHz, slot.lpHz, slot.attackMs, slot.releaseMs, slot.makeupDb}),
              (std::array{35.0F, 16000.0F, 7.5F, 75.0F, 3.25F}));
    peer.block();
    EXPECT_EQ(peer.plug.GetParam(HP).Value(), 35.0) << "the peer takes it";

    own.plug.RecordShadowPeerHpLp(99.0F, 9999.0F);
    EXPECT_TRUE(own.plug.ApplyShadowPeerToSHM()) << "every record is written";
    EXPECT_EQ(peer.slot().hpHz, 99.0F);
    own.load(chunkFile("full"));
    EXPECT_TRUE(own.plug.ApplyShadowPeerToSHM()) << "and every loaded one";
    EXPECT_EQ(peer.slot().hpHz, 35.0F);
}

TEST(ShadowPeer, RecordsWhatIsThere) {
    Side own(0), peer(1);
    ASSERT_TRUE(own.monitor.Pair(own.id, peer.id));
    own.block();
    std::array<TDBand, 5> bands;
    bands.fill({.loHz = 500.0F, .hiHz = 500.0F});
    own.plug.RecordShadowPeerBands(bands.data(), 5);
    EXPECT_EQ(own.savedShadowCount(), 3);
    const auto before = peer.slot();
    EXPECT_TRUE(own.plug.ApplyShadowPeerToSHM());
    EXPECT_EQ(peer.slot().bandsSeq, before.bandsSeq) << "bands without width are not written";
    EXPECT_EQ(peer.slot().hpLpSeq, before.hpLpSeq + 1);
    EXPECT_EQ(peer.slot().controlsSeq, before.controlsSeq + 1);

    own.plug.RecordShadowPeerBands(nullptr, 1);
    EXPECT_EQ(own.savedShadowCount(), 0);
    EXPECT_FALSE(own.plug.ApplyShadowPeerToSHM()) << "cleared";
    own.plug.RecordShadowPeerControls(5.0F, 50.0F, 1.0F);
    EXPECT_EQ(own.savedShadowCount(), 1);
    EXPECT_TRUE(own.plug.ApplyShadowPeerToSHM());
    EXPECT_EQ(peer.slot().bandsSeq, before.bandsSeq);
    EXPECT_EQ(peer.slot().releaseMs, 50.0F);
    EXPECT_EQ(peer.slot().hpHz, 20.0F) << "the rest is as cleared";
}

} // namespace
