#include "plugin/Parameters.h"

#include "shm/TDRecords.h"

using iplug::ParamType;

namespace {

constexpr iplug::ParamSpec row(const char* name, const char* label, const shm::Range& range,
                               double step) {
    return {name, label, range.initial, range.min, range.max, step, ParamType::Double};
}

} // namespace

// clang-format off
const std::array<iplug::ParamSpec, kNumParams> kParamTable = {{
    row("FreqLow",    "Hz", shm::kLowSplitHz,  1.0),
    row("FreqHigh",   "Hz", shm::kHighSplitHz, 1.0),
    row("ThreshLow",  "dB", shm::kThresholdDb, 0.1),
    row("ThreshMid",  "dB", shm::kThresholdDb, 0.1),
    row("ThreshHigh", "dB", shm::kThresholdDb, 0.1),
    row("RatioLow",   ":1", shm::kRatio,       0.1),
    row("RatioMid",   ":1", shm::kRatio,       0.1),
    row("RatioHigh",  ":1", shm::kRatio,       0.1),
    row("Attack",     "ms", shm::kAttackMs,    0.1),
    row("Release",    "ms", shm::kReleaseMs,   1.0),
    row("Makeup",     "dB", shm::kMakeupDb,    0.1),
    {"LinkSlot", "", 0.0, 0.0, 4.0, 1.0, ParamType::Int},
    row("HP",         "Hz", shm::kHpHz,        1.0),
    row("LP",         "Hz", shm::kLpHz,        1.0),
}};
// clang-format on
