/// The saved state byte by byte. Pure: no host, no registry, no instance.
#pragma once

#include "adapter/IByteChunk.h"
#include "plugin/Parameters.h"

#include <array>
#include <cstdint>
#include <optional>

namespace state {

inline constexpr std::uint32_t kTrailerTag = 0xA7E2C41D;
inline constexpr std::uint32_t kTrailerVersion = 1;
inline constexpr std::uint32_t kLeastEditorPx = 100; ///< editor sizes outside count as none
inline constexpr std::uint32_t kMostEditorPx = 8000;

/// The fields ahead of the parameters, as they stand in the chunk.
struct Head {
    std::array<char, 64> instanceName{};
    std::int32_t activeBandCount = 1;
    std::array<float, 6> bandFreqs{}; ///< low and high edge of band 1, 2, 3, Hz
    std::array<std::uint8_t, 3> bandEnabled{};
    std::array<char, 64> peerName{};
    std::int32_t shadowBandCount = 0;
    std::array<float, 6> shadowEdges{};
    std::array<float, 3> shadowThresholds{};
    std::array<float, 3> shadowRatios{};
    std::array<std::uint8_t, 3> shadowEnabled{};
    float shadowHp = 0.0F;
    float shadowLp = 0.0F;
    float shadowAttack = 0.0F;
    float shadowRelease = 0.0F;
    float shadowMakeup = 0.0F;
};

/// The head's layout, stated once for writing, reading and showing: calls visit(name, field) field
/// by field until one answers false. Returns whether all answered true.
template <class HeadOrConst, class Visitor>
bool visitHead(HeadOrConst& head, Visitor&& visit) {
    return visit("instanceName", head.instanceName) &&       // 0
           visit("activeBandCount", head.activeBandCount) && // 64
           visit("bandFreqs", head.bandFreqs) &&             // 68
           visit("bandEnabled", head.bandEnabled) &&         // 92
           visit("peerName", head.peerName) &&               // 95
           visit("shadowBandCount", head.shadowBandCount) && // 159
           visit("shadowEdges", head.shadowEdges) &&         // 163
           visit("shadowThresholds", head.shadowThresholds) &&
           visit("shadowRatios", head.shadowRatios) &&
           visit("shadowEnabled", head.shadowEnabled) && // 211
           visit("shadowHp", head.shadowHp) &&           // 214
           visit("shadowLp", head.shadowLp) && visit("shadowAttack", head.shadowAttack) &&
           visit("shadowRelease", head.shadowRelease) &&
           visit("shadowMakeup", head.shadowMakeup); // 230; the parameters follow at 234
}

/// The head's fields in order, to say how far a reading came.
enum HeadField : int {
    InstanceName,
    ActiveBandCount,
    BandFreqs,
    BandEnabled,
    PeerName,
    ShadowBandCount,
    ShadowEdges,
    ShadowThresholds,
    ShadowRatios,
    ShadowEnabled,
    ShadowHp,
    ShadowLp,
    ShadowAttack,
    ShadowRelease,
    ShadowMakeup,
    kHeadFields
};

/// What follows the parameters and the trailer's tag and version.
struct Tail {
    std::uint32_t editorWidthPx = 0;
    std::uint32_t editorHeightPx = 0;
    bool duckSelf = true;
};

using ParamValues = std::array<double, kNumParams>; ///< plain, in index order

/// Appends a whole chunk: 366 bytes. [main]
void write(iplug::IByteChunk& chunk, const Head& head, const ParamValues& params, const Tail& tail);

/// What a chunk gave. Values are as they stand there, hostile until they are set.
struct Reading {
    Head head;
    int headFields = 0; ///< so many fields of the head, in order, were taken from the chunk
    /// The head was too short, or its start impossible: nothing behind it was looked at.
    bool broken = false;
    int paramsAt = 0;   ///< position of the first parameter value, when not broken
    int paramCount = 0; ///< so many of params were taken
    ParamValues params{};
    bool trailerFound = false;
    std::optional<Tail> size; ///< an editor size inside the limits
    std::optional<bool> duckSelf;
    int result = -1; ///< position behind the last field taken; -1 without a parameter value
};

/// Reads a chunk of any length and age from a position. Never fails; see Reading. [any]
[[nodiscard]] Reading read(const iplug::IByteChunk& chunk, int start);

} // namespace state
