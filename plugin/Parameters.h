/// The parameters of the plug-in: their indices and their table.
#pragma once

#include "adapter/IPlugParameter.h"
#include "shm/TDRecords.h"

#include <array>

/// Index of each parameter; also its CLAP parameter id. A contract with saved projects.
enum ParamIndex : int {
    FreqLow,    ///< crossover between low and mid band, Hz
    FreqHigh,   ///< crossover between mid and high band, Hz
    ThreshLow,  ///< peer level above which the low band ducks, dB
    ThreshMid,  ///< the same of the mid band
    ThreshHigh, ///< the same of the high band
    RatioLow,   ///< ducking ratio of the low band, n:1
    RatioMid,   ///< the same of the mid band
    RatioHigh,  ///< the same of the high band
    Attack,     ///< time of a gain's fall, ms
    Release,    ///< time of a gain's rise, ms
    Makeup,     ///< output gain, dB
    LinkSlot,   ///< automatable and saved; no processing or pairing reads it
    HP,         ///< lower limit of the processed range, Hz
    LP,         ///< upper limit of the processed range, Hz
    kNumParams
};

/// The parameters of the bands, from low to high.
inline constexpr std::array<int, 3> kThresholds = {ThreshLow, ThreshMid, ThreshHigh};
inline constexpr std::array<int, 3> kRatios = {RatioLow, RatioMid, RatioHigh};

/// A parameter of this range, shown to the host as 0 to 1.
constexpr iplug::ParamSpec rowOf(const char* name, const char* label, const shm::Range& range,
                                 double step) {
    return {name, label, range.initial, range.min, range.max, step, iplug::ParamType::Double};
}

// clang-format off
/// One row per parameter, in index order.
inline constexpr std::array<iplug::ParamSpec, kNumParams> kParamTable = {{
    rowOf("FreqLow",    "Hz", shm::kLowSplitHz,  1.0),
    rowOf("FreqHigh",   "Hz", shm::kHighSplitHz, 1.0),
    rowOf("ThreshLow",  "dB", shm::kThresholdDb, 0.1),
    rowOf("ThreshMid",  "dB", shm::kThresholdDb, 0.1),
    rowOf("ThreshHigh", "dB", shm::kThresholdDb, 0.1),
    rowOf("RatioLow",   ":1", shm::kRatio,       0.1),
    rowOf("RatioMid",   ":1", shm::kRatio,       0.1),
    rowOf("RatioHigh",  ":1", shm::kRatio,       0.1),
    rowOf("Attack",     "ms", shm::kAttackMs,    0.1),
    rowOf("Release",    "ms", shm::kReleaseMs,   1.0),
    rowOf("Makeup",     "dB", shm::kMakeupDb,    0.1),
    {"LinkSlot", "", 0.0, 0.0, 4.0, 1.0, iplug::ParamType::Int},
    rowOf("HP",         "Hz", shm::kHpHz,        1.0),
    rowOf("LP",         "Hz", shm::kLpHz,        1.0),
}};
// clang-format on
