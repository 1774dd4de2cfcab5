#pragma once

#include "dsp/Bands.h"

#include <array>

namespace dsp {

/// What decides by how much a peer's magnitudes turn the bins down.
struct ReductionSettings {
    std::array<double, kBandCount> thresholdDb{};        ///< dB over N/π; low, mid and high band
    std::array<double, kBandCount> ratio{1.0, 1.0, 1.0}; ///< n : 1; up to 1 switches a band off
    double lowSplitHz = 200.0, highSplitHz = 5000.0;
    double hpHz = 20.0, lpHz = 20000.0; ///< bins outside, both ends inclusive, are not reduced

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

    /// For fftSize / 2 bins that are binHz apart. Those from kExchangedBins up are never reduced,
    /// nor are DC and top bin.
    void follow(const ReductionSettings& settings, float binHz, int fftSize);

    [[nodiscard]] const float* inverseThreshold() const { return inverse.data(); }
    [[nodiscard]] const float* power() const { return powers.data(); }
    [[nodiscard]] const BandRanges& bands() const { return ranges; }

private:
    ReductionSettings followed;
    float followedBinHz = 0.0F;
    int followedSize = 0;
    BandRanges ranges{};
    alignas(64) Bins inverse{}; ///< 1 / threshold magnitude; 0: never reduced
    alignas(64) Bins powers{};  ///< −(1 − 1/ratio)
};

} // namespace dsp
