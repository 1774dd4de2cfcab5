#pragma once

namespace dsp {

/// Hz; what stands in until a host has named a rate, or when it names an impossible one.
inline constexpr double kDefaultSampleRate = 44100.0;

/// The rate itself when an engine can run at it (1 Hz to 1 GHz), else kDefaultSampleRate: also for
/// NaN and infinity, so that no derived frequency overflows or is NaN. [any]
constexpr double usableSampleRate(double sampleRate) {
    return sampleRate >= 1.0 && sampleRate <= 1e9 ? sampleRate : kDefaultSampleRate;
}

} // namespace dsp
