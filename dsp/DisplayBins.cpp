#include "dsp/DisplayBins.h"

#include <algorithm>
#include <cmath>

namespace dsp {
namespace {

constexpr float kLowestLog = 1.30103F; // log10 of 20 Hz
constexpr float kHighestHz = 20000.0F;

} // namespace

std::array<DisplayBand, kDisplayBands> displayBands(float sampleRate, float binHz, int maxBins) {
    const float decades = std::log10(std::min(0.5F * sampleRate, kHighestHz)) - kLowestLog;
    const auto edgeHz = [decades](int edge) {
        return std::pow(10.0F, static_cast<float>(edge) * decades / kDisplayBands + kLowestLog);
    };
    // Limited before it becomes an integer: at absurdly low rates 20 Hz is past all bins.
    const auto limitedBin = [maxBins](float bin) {
        return static_cast<std::int32_t>(std::min(bin, static_cast<float>(maxBins)));
    };

    std::array<DisplayBand, kDisplayBands> bands{};
    for (int i = 0; i < kDisplayBands; ++i) {
        const float low = edgeHz(i);
        const float high = edgeHz(i + 1);
        const std::int32_t lo = std::max(1, limitedBin(low / binHz));
        const std::int32_t hi = std::max(lo + 1, limitedBin(std::ceil(high / binHz)));
        bands[static_cast<std::size_t>(i)] = {lo, std::min(hi, maxBins), std::sqrt(low * high)};
    }
    return bands;
}

} // namespace dsp
