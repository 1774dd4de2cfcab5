#pragma once

#include "dsp/Bands.h"
#include "dsp/Magnitudes.h"

#include <array>

namespace dsp {

/// Low, mid and high level, linear.
using BandLevels = std::array<float, kBandCount>;

/// Mean of scale · magnitude per band over the bins 1 .. count − 2; 0 for a band without bins.
/// What is no magnitude counts as 0, and for 0 ≤ scale ≤ 1 the result is finite. [any]
inline BandLevels bandLevels(const float* magnitude, int count, float binHz, double lowSplitHz,
                             double highSplitHz, float scale) {
    const auto bands =
        bandRanges(binHz, count, static_cast<float>(lowSplitHz), static_cast<float>(highSplitHz));
    BandLevels levels{};
    for (std::size_t band = 0; band < levels.size(); ++band) {
        const auto [begin, end] = bands[band].within({1, count - 1});
        if (begin < end)
            levels[band] =
                static_cast<float>(meanMagnitude(magnitude + begin, end - begin) * scale);
    }
    return levels;
}

/// Scale of bandLevels for the own magnitudes. Deliberate: the own meter is not normalised by the
/// transform size as the peer's is; the editor's meters are drawn for exactly this pair.
inline constexpr float kOwnLevelScale = 1.0F;

/// Scale of bandLevels for the peer's magnitudes, given the own transform size N ≥ 4: π / N.
constexpr float peerLevelScale(int fftSize) { return kPi / static_cast<float>(fftSize); }

} // namespace dsp
