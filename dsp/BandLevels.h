#pragma once

#include "dsp/Bands.h"

#include <array>
#include <limits>

namespace dsp {

/// Low, mid and high level, linear.
using BandLevels = std::array<float, kBandCount>;

/// Mean of scale · magnitude per band over the bins 1 .. count − 2; 0 for a band without bins.
/// A value that is no magnitude (NaN, infinite, negative: the peer's come from foreign memory)
/// counts as 0, and for 0 ≤ scale ≤ 1 the result is finite. [any]
inline BandLevels bandLevels(const float* magnitude, int count, float binHz, double lowSplitHz,
                             double highSplitHz, float scale) {
    const auto bands =
        bandRanges(binHz, count, static_cast<float>(lowSplitHz), static_cast<float>(highSplitHz));
    BandLevels levels{};
    for (std::size_t band = 0; band < levels.size(); ++band) {
        const auto [begin, end] = bands[band].within({1, count - 1});
        double sum = 0.0; // a float sum of a thousand huge bins would overflow
        for (int bin = begin; bin < end; ++bin) {
            const float value = magnitude[bin];
            const bool isMagnitude = value >= 0.0F && value <= std::numeric_limits<float>::max();
            sum += isMagnitude ? value : 0.0F;
        }
        if (begin < end)
            levels[band] = static_cast<float>(sum / (end - begin) * scale);
    }
    return levels;
}

/// Scale of bandLevels for the own magnitudes. Deliberate: the own meter is not normalised by the
/// transform size as the peer's is; the editor's meters are drawn for exactly this pair.
inline constexpr float kOwnLevelScale = 1.0F;

/// Scale of bandLevels for the peer's magnitudes, given the own transform size N ≥ 4: π / N.
constexpr float peerLevelScale(int fftSize) { return kPi / static_cast<float>(fftSize); }

} // namespace dsp
