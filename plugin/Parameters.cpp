#include "plugin/Parameters.h"

using iplug::ParamType;

// clang-format off
const std::array<iplug::ParamSpec, kNumParams> kParamTable = {{
    // name         label  default     min      max  step  type
    {"FreqLow",    "Hz",     200.0,   20.0,  2000.0, 1.0, ParamType::Double},
    {"FreqHigh",   "Hz",    5000.0,  500.0, 20000.0, 1.0, ParamType::Double},
    {"ThreshLow",  "dB",     -20.0,  -60.0,     0.0, 0.1, ParamType::Double},
    {"ThreshMid",  "dB",     -20.0,  -60.0,     0.0, 0.1, ParamType::Double},
    {"ThreshHigh", "dB",     -20.0,  -60.0,     0.0, 0.1, ParamType::Double},
    {"RatioLow",   ":1",       4.0,    1.0,    20.0, 0.1, ParamType::Double},
    {"RatioMid",   ":1",       4.0,    1.0,    20.0, 0.1, ParamType::Double},
    {"RatioHigh",  ":1",       4.0,    1.0,    20.0, 0.1, ParamType::Double},
    {"Attack",     "ms",      10.0,    0.1,   300.0, 0.1, ParamType::Double},
    {"Release",    "ms",     100.0,    5.0,  2000.0, 1.0, ParamType::Double},
    {"Makeup",     "dB",       0.0,  -12.0,    24.0, 0.1, ParamType::Double},
    {"LinkSlot",   "",         0.0,    0.0,     4.0, 1.0, ParamType::Int},
    {"HP",         "Hz",      20.0,   20.0,  1000.0, 1.0, ParamType::Double},
    {"LP",         "Hz",   20000.0, 1000.0, 20000.0, 1.0, ParamType::Double},
}};
// clang-format on
