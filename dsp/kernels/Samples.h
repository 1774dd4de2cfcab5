/// Loops over plain samples: between the host's 64 bits and the engine's 32, and over hops and
/// gains.
#pragma once

#include "dsp/kernels/Vector.h"

namespace dsp::TD_KERNEL_SET {
namespace {

/// At this limit the squared magnitude of the largest frame, (2 · 4096 · 1e15)², is below the
/// greatest float: nothing downstream can become infinite.
constexpr float kMaxSample = 1e15F;

/// As many doubles as a vector holds.
constexpr int kDoubles = kWidth / 2;
using DoubleVec [[gnu::vector_size(8 * kDoubles)]] = double;
using HalfBits [[gnu::vector_size(4 * kDoubles)]] = std::int32_t;
using UnalignedDoubleVec [[gnu::vector_size(8 * kDoubles), gnu::aligned(8)]] = double;
using UnalignedHalfVec [[gnu::vector_size(4 * kDoubles), gnu::aligned(4)]] = float;

inline HalfVec halfAt(const double* from) {
    return __builtin_convertvector(DoubleVec(*reinterpret_cast<const UnalignedDoubleVec*>(from)),
                                   HalfVec);
}

/// NaN becomes 0, all else is limited to ±1e15: as floats, so that all steps are of one width.
template <class T>
inline T usableSample(T sample) {
    const T most = T{} + kMaxSample;
    // Only NaN differs from itself.
    const T number = sample == sample ? sample : T{}; // NOLINT(misc-redundant-expression)
    const T bounded = number < most ? number : most;
    return bounded > -most ? bounded : -most;
}

inline Vec usableSamples(const double* from) {
    return usableSample(joined(halfAt(from), halfAt(from + kDoubles)));
}

inline void putHalf(HalfVec samples, double* to) {
    *reinterpret_cast<UnalignedDoubleVec*>(to) = __builtin_convertvector(samples, DoubleVec);
}

inline void putWidened(const float* from, double* to) {
    putHalf(*reinterpret_cast<const UnalignedHalfVec*>(from), to);
    putHalf(*reinterpret_cast<const UnalignedHalfVec*>(from + kDoubles), to + kDoubles);
}

/// Each sample of both inputs is taken before an output, which may be the same memory, is written.
void exchange(const SampleRun& run) {
    const SampleRun r = run; // or every store might change it
    int i = 0;
    for (; i + kWidth <= r.n; i += kWidth) {
        const Vec left = usableSamples(r.inL + i), right = usableSamples(r.inR + i);
        putWidened(r.readyR + i, r.outR + i);
        putWidened(r.readyL + i, r.outL + i);
        storeAnywhere(r.takenL + i, left);
        storeAnywhere(r.takenR + i, right);
    }
    for (; i < r.n; ++i) { // infinite, if too large for a float
        const float left = usableSample(static_cast<float>(r.inL[i]));
        const float right = usableSample(static_cast<float>(r.inR[i]));
        r.outR[i] = r.readyR[i];
        r.outL[i] = r.readyL[i];
        r.takenL[i] = left;
        r.takenR[i] = right;
    }
}

void narrow(const double* from, float* __restrict to, int n) {
    for (int i = 0; i < n; ++i)
        to[i] = static_cast<float>(from[i]);
}

void meanOf(const double* left, const double* right, float* __restrict to, int n) {
    for (int i = 0; i < n; ++i)
        to[i] = static_cast<float>((left[i] + right[i]) * 0.5);
}

void widen(const float* __restrict from, double* to, int n) {
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

/// In doubles: a float sum of a thousand huge values would overflow.
double sumOfMagnitudes(const float* values, int n) {
    constexpr int kSums = 4;
    constexpr std::int32_t kInfinity = 0x7F800000; // magnitudes are, as bits, from 0 to below it
    DoubleVec sums[kSums] = {};
    int i = 0;
    for (; i + kSums * kDoubles <= n; i += kSums * kDoubles)
        for (int part = 0; part < kSums; ++part) {
            const HalfVec value =
                *reinterpret_cast<const UnalignedHalfVec*>(values + i + part * kDoubles);
            const auto bits = reinterpret_cast<HalfBits>(value);
            const HalfBits usable = bits & (bits >= 0) & (bits < kInfinity);
            sums[part] += __builtin_convertvector(reinterpret_cast<HalfVec>(usable), DoubleVec);
        }
    const DoubleVec all = (sums[0] + sums[1]) + (sums[2] + sums[3]);
    double sum = 0.0;
    for (int lane = 0; lane < kDoubles; ++lane)
        sum += all[lane];
    for (; i < n; ++i)
        sum += values[i] >= 0.0F && values[i] < __builtin_inff() ? values[i] : 0.0F;
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
