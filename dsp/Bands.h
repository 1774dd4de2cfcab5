#pragma once

#include <algorithm>
#include <array>
#include <cmath>

namespace dsp {

/// Low, mid and high.
inline constexpr int kBandCount = 3;

/// Bins of a spectrum that instances exchange; higher bins are never reduced.
inline constexpr int kExchangedBins = 1024;

/// π as the level scale knows it: a transform of size N is normalised by N / 3.1415927.
inline constexpr float kPi = 3.1415927F;

/// Linear levels are raised to this before a logarithm is taken.
inline constexpr float kLevelFloor = 1e-9F;

/// 20·log10(linear); everything below the floor, NaN included, reads as the floor (−180 dB). [any]
inline float toDb(float linear) {
    return 20.0F * std::log10(std::max(kLevelFloor, linear)); // this order drops a NaN
}

/// 10^(db / 20). [any]
inline double fromDb(double db) { return std::pow(10.0, db / 20.0); }

/// Band of a frequency: 0 below lowSplitHz, else 1 below highSplitHz, else 2. A frequency equal to
/// a split belongs to the upper band; with crossed splits there is no mid band. [any]
constexpr int bandOf(float hz, float lowSplitHz, float highSplitHz) {
    if (hz < lowSplitHz)
        return 0;
    return hz < highSplitHz ? 1 : 2;
}

/// Bins [begin, end); empty when end ≤ begin.
struct BinRange {
    int begin = 0;
    int end = 0;

    /// The bins that lie in both ranges.
    [[nodiscard]] constexpr BinRange within(BinRange other) const {
        return {std::max(begin, other.begin), std::min(end, other.end)};
    }
};

/// The first of the bins [0, numBins) for which the predicate of its frequency is false, numBins if
/// it holds for all. The predicate must hold for low frequencies only, if at all. Searched with the
/// predicate itself: a division by binHz would round differently from bin · binHz. [any]
template <class Predicate>
int firstBinWhereNot(float binHz, int numBins, Predicate holdsBelow) {
    int first = 0;
    for (int end = std::max(numBins, 0); first < end;) {
        const int middle = (first + end) / 2;
        if (holdsBelow(static_cast<float>(middle) * binHz))
            first = middle + 1;
        else
            end = middle;
    }
    return first;
}

/// The bins of each band, which are contiguous: the same bins as bandOf(bin · binHz, …) gives bin
/// by bin. binHz ≥ 0 is the distance of two bins in Hz. [any]
inline std::array<BinRange, kBandCount> bandRanges(float binHz, int numBins, float lowSplitHz,
                                                   float highSplitHz) {
    const auto endOf = [&](int band) {
        return firstBinWhereNot(
            binHz, numBins, [&](float hz) { return bandOf(hz, lowSplitHz, highSplitHz) <= band; });
    };
    const int lowEnd = endOf(0);
    const int midEnd = endOf(1);
    return {BinRange{0, lowEnd}, BinRange{lowEnd, midEnd}, BinRange{midEnd, std::max(numBins, 0)}};
}

/// Mean of `count` magnitudes, count > 0. A peer's spectrum comes from shared memory, which anybody
/// may write: its NaNs, infinities and negative numbers count as 0, so the mean is finite. [any]
double meanMagnitude(const float* magnitudes, int count);

/// Low, mid and high level, linear.
using BandLevels = std::array<float, kBandCount>;

/// Mean of scale · magnitude per band over the bins 1 .. count − 2; 0 for a band without bins.
/// Magnitudes as for meanMagnitude; for 0 ≤ scale ≤ 1 the result is finite. [any]
BandLevels bandLevels(const float* magnitude, int count, float binHz, double lowSplitHz,
                      double highSplitHz, float scale);

/// Scale of bandLevels for the own magnitudes. Deliberate: the own meter is not normalised by the
/// transform size as the peer's is; the editor's meters are drawn for exactly this pair.
inline constexpr float kOwnLevelScale = 1.0F;

/// Scale of bandLevels for the peer's magnitudes, given the own transform size N ≥ 4: π / N.
constexpr float peerLevelScale(int fftSize) { return kPi / static_cast<float>(fftSize); }

} // namespace dsp
