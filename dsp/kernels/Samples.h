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

// Conversions of so many samples; GCC makes of its own ones for vectors three times the
// instructions.
#if defined(TD_KERNEL_INTRINSICS) && TD_KERNEL_WIDTH == 8
inline HalfVec halfOf(DoubleVec doubles) { return _mm256_cvtpd_ps(doubles); }
inline DoubleVec doublesOf(HalfVec half) { return _mm256_cvtps_pd(half); }
#elif defined(TD_KERNEL_INTRINSICS) && TD_KERNEL_WIDTH == 16
inline HalfVec halfOf(DoubleVec doubles) { return _mm512_cvtpd_ps(doubles); }
inline DoubleVec doublesOf(HalfVec half) { return _mm512_cvtps_pd(half); }
#else
inline HalfVec halfOf(DoubleVec doubles) { return __builtin_convertvector(doubles, HalfVec); }
inline DoubleVec doublesOf(HalfVec half) { return __builtin_convertvector(half, DoubleVec); }
#endif

inline DoubleVec doublesAt(const double* from) {
    return *reinterpret_cast<const UnalignedDoubleVec*>(from);
}
inline Vec narrowed(DoubleVec low, DoubleVec high) { return joined(halfOf(low), halfOf(high)); }
inline Vec narrowedAt(const double* from) {
    return narrowed(doublesAt(from), doublesAt(from + kDoubles));
}
inline void putWidened(const float* from, double* to) {
    for (int i = 0; i < kWidth; i += kDoubles)
        *reinterpret_cast<UnalignedDoubleVec*>(to + i) =
            doublesOf(*reinterpret_cast<const UnalignedHalfVec*>(from + i));
}

/// NaN becomes 0, all else is limited to ±1e15: as floats, so that all steps are of one width.
inline Vec usable(Vec samples) {
    const Vec numbers = samples == samples ? samples : Vec{}; // NOLINT(misc-redundant-expression)
    return larger(smaller(numbers, broadcast(kMaxSample)), broadcast(-kMaxSample));
}
inline float usable(float sample) {
    const float number = sample == sample ? sample : 0.0F; // NOLINT(misc-redundant-expression)
    const float bounded = number < kMaxSample ? number : kMaxSample;
    return bounded > -kMaxSample ? bounded : -kMaxSample;
}

/// Each sample of both inputs is taken before an output, which may be the same memory, is written.
void exchange(const SampleRun& run) {
    const SampleRun r = run; // or every store might change it
    int i = 0;
    for (; i + kWidth <= r.n; i += kWidth) {
        const Vec left = usable(narrowedAt(r.inL + i)), right = usable(narrowedAt(r.inR + i));
        putWidened(r.readyR + i, r.outR + i);
        putWidened(r.readyL + i, r.outL + i);
        storeAnywhere(r.takenL + i, left);
        storeAnywhere(r.takenR + i, right);
    }
    for (; i < r.n; ++i) { // infinite, if too large for a float
        const float left = usable(static_cast<float>(r.inL[i]));
        const float right = usable(static_cast<float>(r.inR[i]));
        r.outR[i] = r.readyR[i];
        r.outL[i] = r.readyL[i];
        r.takenL[i] = left;
        r.takenR[i] = right;
    }
}

void narrow(const double* from, float* to, int n) {
    int i = 0;
    for (; i + kWidth <= n; i += kWidth)
        storeAnywhere(to + i, narrowedAt(from + i));
    for (; i < n; ++i)
        to[i] = static_cast<float>(from[i]);
}

void widen(const float* from, double* to, int n) {
    int i = 0;
    for (; i + kWidth <= n; i += kWidth)
        putWidened(from + i, to + i);
    for (; i < n; ++i)
        to[i] = from[i];
}

void meanOf(const double* left, const double* right, float* to, int n) {
    const auto meansAt = [&](int i) { return (doublesAt(left + i) + doublesAt(right + i)) * 0.5; };
    int i = 0;
    for (; i + kWidth <= n; i += kWidth)
        storeAnywhere(to + i, narrowed(meansAt(i), meansAt(i + kDoubles)));
    for (; i < n; ++i)
        to[i] = static_cast<float>((left[i] + right[i]) * 0.5);
}

/// The sum of all lanes and of n more values.
inline float sumWithRest(Vec lanes, const float* rest, int n) {
#if TD_KERNEL_WIDTH == 16
    for (; n > 0; n -= kWidth, rest += kWidth)
        lanes += loadFirst(rest, n);
    return sumOfLanes(lanes);
#else
    float sum = sumOfLanes(lanes);
    for (int i = 0; i < n; ++i)
        sum += rest[i];
    return sum;
#endif
}

/// Several sums side by side: one alone would wait for each addition.
float sumOf(const float* values, int n) {
    Vec sums[4] = {};
    int i = 0;
    for (; i + 4 * kWidth <= n; i += 4 * kWidth)
        for (int part = 0; part < 4; ++part)
            sums[part] += loadAnywhere(values + i + part * kWidth);
    return sumWithRest((sums[0] + sums[1]) + (sums[2] + sums[3]), values + i, n - i);
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
            const HalfBits usableBits = bits & (bits >= 0) & (bits < kInfinity);
            sums[part] += doublesOf(reinterpret_cast<HalfVec>(usableBits));
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
