#pragma once

#include <cmath>

namespace dsp {

/// Hz; what stands in until a host has named a rate, or when it names an impossible one.
inline constexpr double kDefaultSampleRate = 44100.0;

/// The rate itself when an engine can run at it (1 Hz to 1 GHz), else kDefaultSampleRate: also for
/// NaN and infinity, so that no derived frequency overflows or is NaN. [any]
constexpr double usableSampleRate(double sampleRate) {
    return sampleRate >= 1.0 && sampleRate <= 1e9 ? sampleRate : kDefaultSampleRate;
}

/// Coefficient of y = coef·(y − target) + target that covers 1 − 1/e of a step in timeMs, when
/// stepped frameRate times a second: exp(−1 / (timeMs · 0.001 · frameRate)), in single precision.
/// For timeMs and frameRate ≥ 0 the result is in [0, 1]. [any]
inline float onePoleCoef(double timeMs, float frameRate) {
    return std::exp(-1.0F / (static_cast<float>(timeMs) * 0.001F * frameRate));
}

/// Time constant of the glide of the working settings towards their targets.
inline constexpr double kGlideMs = 30.0;

/// The part of the way to its target that a setting goes in a block of nFrames samples:
/// 1 − exp(−(nFrames · 1000 / sampleRate) / kGlideMs). 0 without a usable rate or block. [any]
inline double glideCoef(int nFrames, double sampleRate) {
    if (nFrames <= 0 || !(sampleRate > 0.0))
        return 0.0;
    return 1.0 - std::exp(-(nFrames * 1000.0 / sampleRate) / kGlideMs);
}

} // namespace dsp
