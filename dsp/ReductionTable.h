#pragma once

#include "dsp/Bands.h"

#include <array>

namespace dsp {

/// What decides by how much a peer's magnitudes turn the bins down.
struct ReductionSettings {
    std::array<double, kBandCount> thresholdDb{}; ///< dB over N/π
    std::array<double, kBandCount> ratio{};       ///< n : 1; up to 1 switches a band off
    float lowSplitHz = 0.0F, highSplitHz = 0.0F;
    float hpHz = 0.0F, lpHz = 0.0F; ///< bins outside, both ends inclusive, are not reduced
    float binHz = 0.0F;             ///< distance of two bins
    int fftSize = 0;

    bool operator==(const ReductionSettings&) const = default;
};

/// The settings bin by bin, as GainGlide wants them, worked out again only when they change. With
/// the level 20·log10(m · π/N) dB of a peer's magnitude m, a compressor turns down by
/// (1 − 1/ratio) · (level − threshold) dB. Without the logarithms that is a gain of
/// (m / threshold)^−(1 − 1/ratio), the threshold taken as a magnitude. [audio]
class ReductionTable {
public:
    static constexpr int kMaxBins = 2048;
    using Bins = std::array<float, kMaxBins>;
    using BandRanges = std::array<BinRange, kBandCount>;

    /// Bins from kExchangedBins up are never reduced, nor are DC and top bin.
    void follow(const ReductionSettings& settings);

    [[nodiscard]] const float* inverseThreshold() const { return inverse.data(); }
    [[nodiscard]] const float* power() const { return powers.data(); }
    [[nodiscard]] const BandRanges& bands() const { return ranges; }

private:
    ReductionSettings followed;
    BandRanges ranges{};
    alignas(64) Bins inverse{}; ///< 1 / threshold magnitude; 0: never reduced
    alignas(64) Bins powers{};  ///< −(1 − 1/ratio)
};

} // namespace dsp
