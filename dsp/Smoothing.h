#pragma once

#include <cmath>

namespace dsp {

/// Coefficient of y = coef·(y − target) + target that covers 1 − 1/e of a step in timeMs, when
/// stepped frameRate times a second: exp(−1 / (timeMs · 0.001 · frameRate)), in single precision.
/// For timeMs and frameRate ≥ 0 the result is in [0, 1]. [any]
inline float onePoleCoef(double timeMs, float frameRate) {
    return std::exp(-1.0F / (static_cast<float>(timeMs) * 0.001F * frameRate));
}

/// Time constant of the glide of the working settings towards their targets.
inline constexpr double kGlideMs = 30.0;

/// The part of the way to its target that a setting goes in a block of nFrames samples:
/// 1 − exp(−(nFrames · 1000 / sampleRate) / glideMs). 0 without a usable rate or block. [any]
inline double glideCoef(int nFrames, double sampleRate, double glideMs = kGlideMs) {
    if (nFrames <= 0 || !(sampleRate > 0.0))
        return 0.0;
    return 1.0 - std::exp(-(nFrames * 1000.0 / sampleRate) / glideMs);
}

} // namespace dsp
