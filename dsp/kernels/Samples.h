/// Loops over plain samples: between the host's 64 bits and the engine's 32, and over hops and
/// gains.
#pragma once

#include "dsp/kernels/Vector.h"

namespace dsp::TD_KERNEL_SET {
namespace {

/// At this limit the squared magnitude of the largest frame, (2 · 4096 · 1e15)², is below the
/// greatest float: nothing downstream can become infinite.
constexpr float kMaxSample = 1e15F;

/// NaN becomes 0, all else is limited to ±1e15: as floats, so that all steps are of one width.
void toFloat(const double* from, float* __restrict to, int n) {
    for (int i = 0; i < n; ++i) {
        const auto sample = static_cast<float>(from[i]); // infinite, if too large for a float
        const float number = sample == sample ? sample : 0.0F;
        const float bounded = number < kMaxSample ? number : kMaxSample;
        to[i] = bounded > -kMaxSample ? bounded : -kMaxSample;
    }
}

void toDouble(const float* __restrict from, double* to, int n) {
    for (int i = 0; i < n; ++i)
        to[i] = from[i];
}

/// Several sums side by side: one alone would wait for each addition.
float sumOf(const float* values, int n) {
    Vec sums[4] = {};
    int i = 0;
    for (; i + 4 * kWidth <= n; i += 4 * kWidth)
        for (int part = 0; part < 4; ++part)
            sums[part] += loadAnywhere(values + i + part * kWidth);
    float sum = sumOfLanes((sums[0] + sums[1]) + (sums[2] + sums[3]));
    for (; i < n; ++i)
        sum += values[i];
    return sum;
}

/// Stops at the first sample that is not 0: as a rule at once.
bool isSilent(const float* values, int n) {
    constexpr int kBlock = 64;
    for (int start = 0; start < n; start += kBlock) {
        IntVec sounds{};
        for (int i = start; i < start + kBlock; i += kWidth)
            sounds |= load(values + i) != 0.0F;
        if (anyOf(sounds))
            return false;
    }
    return true;
}

} // namespace
} // namespace dsp::TD_KERNEL_SET
