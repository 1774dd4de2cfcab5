/// The parameters of the plug-in: their indices and their table.
#pragma once

#include "adapter/IPlugParameter.h"

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

/// One row per parameter, in index order.
extern const std::array<iplug::ParamSpec, kNumParams> kParamTable;
