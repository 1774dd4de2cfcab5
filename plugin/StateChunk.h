/// The saved state byte by byte. Pure: no host, no registry, no instance.
#pragma once

#include "adapter/IByteChunk.h"
#include "plugin/Parameters.h"
#include "shm/TDRecords.h"

#include <array>
#include <cstdint>
#include <optional>

namespace state {

inline constexpr std::uint32_t kTrailerTag = 0xA7E2C41D;
inline constexpr std::uint32_t kTrailerVersion = 1;
inline constexpr std::uint32_t kMinEditorPx = 100; ///< editor sizes outside count as none
inline constexpr std::uint32_t kMaxEditorPx = 8000;

/// No settings of a peer: what a record holds until one is edited.
[[nodiscard]] shm::Settings clearedPeer();

/// What this side's settings keep besides the parameters.
struct Own {
    shm::Name name{};
    shm::BandSet bands{.bands = {}, .count = 1}; ///< edges and switches; the rest is parameters
};

/// What is remembered of the other side.
struct Peer {
    shm::Name name{};                       ///< of the peer last paired with; empty: none
    shm::Settings settings = clearedPeer(); ///< as this side last set it; no bands: not at all
};

/// What a project keeps of an instance besides its parameters. A chunk is read over the present
/// record, so that what it lacks stays.
struct Record {
    Own own;
    Peer peer;
    // Behind the parameters, where later builds add theirs: older ones look no further
    std::uint32_t editorWidthPx = 960;
    std::uint32_t editorHeightPx = 600;
    std::uint32_t duckSelf = 1;
};

/// The layout of the fields ahead of the parameters, stated once for writing, reading and showing:
/// calls visit(name, value, ...) field by field, a field's values in their order, until one answers
/// false. Returns whether all answered true. A bool is one byte.
template <class RecordOrConst, class Visitor>
bool visitRecord(RecordOrConst& record, Visitor&& visit) {
    auto& [bands, count] = record.own.bands;
    auto& [a, b, c] = bands;
    auto& [peerBands, filters, controls] = record.peer.settings;
    auto& [x, y, z] = peerBands.bands;
    return visit("instanceName", record.own.name) &&                               // 0
           visit("activeBandCount", count) &&                                      // 64
           visit("bandFreqs", a.loHz, a.hiHz, b.loHz, b.hiHz, c.loHz, c.hiHz) &&   // 68
           visit("bandEnabled", a.enabled, b.enabled, c.enabled) &&                // 92
           visit("peerName", record.peer.name) &&                                  // 95
           visit("shadowBandCount", peerBands.count) &&                            // 159
           visit("shadowEdges", x.loHz, x.hiHz, y.loHz, y.hiHz, z.loHz, z.hiHz) && // 163
           visit("shadowThresholds", x.threshDb, y.threshDb, z.threshDb) &&        // 187
           visit("shadowRatios", x.ratio, y.ratio, z.ratio) &&                     // 199
           visit("shadowEnabled", x.enabled, y.enabled, z.enabled) &&              // 211
           visit("shadowHp", filters.hpHz) && visit("shadowLp", filters.lpHz) &&   // 214
           visit("shadowAttack", controls.attackMs) &&                             // 222
           visit("shadowRelease", controls.releaseMs) &&                           // 226
           visit("shadowMakeup", controls.makeupDb); // 230; the parameters follow at 234
}

/// The same of the words behind the parameters and the trailer's tag and version, with what each
/// may be and what is written for one that may not: visit(name, word, allowed). Word is Record's.
struct WordRange {
    std::uint32_t min, max, fallback;
    [[nodiscard]] bool Has(std::uint32_t word) const { return word >= min && word <= max; }
};
template <class RecordOrConst, class Visitor>
bool visitTail(RecordOrConst& record, Visitor&& visit) {
    return visit("editorWidthPx", record.editorWidthPx,
                 WordRange{kMinEditorPx, kMaxEditorPx, 960}) &&
           visit("editorHeightPx", record.editorHeightPx,
                 WordRange{kMinEditorPx, kMaxEditorPx, 600}) &&
           visit("duckSelf", record.duckSelf, WordRange{0, 1, 1});
}

using ParamValues = std::array<double, kNumParams>; ///< plain, in index order

/// Appends a whole chunk: 366 bytes. [main]
void write(iplug::IByteChunk& chunk, const Record& record, const ParamValues& params);

/// What a chunk gave. Values are as they stand there, hostile until they are set.
struct Reading {
    Record record;  ///< as it stands in the chunk; fields that it lacks as before
    int fields = 0; ///< so many fields of the record, in order, were taken from the chunk
    bool peerCountTaken = false; ///< the number of the peer's bands was among them
    /// The record was too short, or its start impossible: nothing behind it was looked at.
    bool broken = false;
    int paramsAt = 0;   ///< position of the first parameter value, when not broken
    int paramCount = 0; ///< so many of params were taken
    ParamValues params{};
    bool trailerFound = false;
    int words = 0;   ///< so many words of the tail, in order, were taken
    int result = -1; ///< position behind the last field taken; -1 without a parameter value

    /// Whether the chunk has settings for the peer, be it none.
    [[nodiscard]] bool hasPeer() const {
        return peerCountTaken && record.peer.settings.bands.count <= shm::kBandCount;
    }
    /// Whether the chunk has an editor size, inside the limits; and a duck flag.
    [[nodiscard]] bool hasSize() const { return words >= 2; }
    [[nodiscard]] bool hasDuckSelf() const { return words >= 3; }
};

/// Reads a chunk of any length and age from a position, over the present record. Never fails; see
/// Reading. [any]
[[nodiscard]] Reading read(const iplug::IByteChunk& chunk, int start, const Record& present = {});

/// The record that an instance takes from a reading: names end, an empty own name and an
/// impossible number of bands stay as they are at present, what is no number in the peer's settings
/// is as in a cleared record. [any]
[[nodiscard]] Record adopted(const Reading& reading, const Record& present);

} // namespace state
