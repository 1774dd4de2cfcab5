#pragma once

#include <limits>

namespace dsp {

/// Mean of `count` magnitudes, count > 0. A value that is none (NaN, infinite, negative: a peer's
/// come from foreign memory) counts as 0, so the mean is no greater than the greatest float. [any]
inline double meanMagnitude(const float* magnitudes, int count) {
    double sum = 0.0; // a float sum of a thousand huge values would overflow
    for (int i = 0; i < count; ++i) {
        const float value = magnitudes[i];
        const bool isMagnitude = value >= 0.0F && value <= std::numeric_limits<float>::max();
        sum += isMagnitude ? value : 0.0F;
    }
    return sum / count;
}

} // namespace dsp
