#include "dsp/Display.h"

#include "dsp/Bands.h"
#include "dsp/Smoothing.h"

#include <algorithm>
#include <cmath>

namespace dsp {
namespace {

constexpr float kLowestLog = 1.30103F; // log10 of 20 Hz
constexpr float kHighestHz = 20000.0F;

constexpr float kNewShare = 0.6F; ///< of a frame's level in the level shown

} // namespace

DisplayBands displayBands(float sampleRate, float binHz, int maxBins) {
    const float decades = std::log10(std::min(0.5F * sampleRate, kHighestHz)) - kLowestLog;
    const auto edgeHz = [decades](int edge) {
        return std::pow(10.0F, static_cast<float>(edge) * decades / kDisplayBands + kLowestLog);
    };
    // Limited before it becomes an integer: at absurdly low rates 20 Hz is past all bins.
    const auto limitedBin = [maxBins](float bin) {
        return static_cast<std::int32_t>(std::min(bin, static_cast<float>(maxBins)));
    };

    DisplayBands bands{};
    for (int i = 0; i < kDisplayBands; ++i) {
        const float low = edgeHz(i);
        const float high = edgeHz(i + 1);
        const std::int32_t lo = std::max(1, limitedBin(low / binHz));
        const std::int32_t hi = std::max(lo + 1, limitedBin(std::ceil(high / binHz)));
        bands[static_cast<std::size_t>(i)] = {lo, std::min(hi, maxBins), std::sqrt(low * high)};
    }
    return bands;
}

void DisplayScale::retune(float sampleRate, int fftSize, int bins) {
    const auto rate = static_cast<float>(usableSampleRate(sampleRate));
    const auto points = static_cast<float>(std::max(fftSize, 1));
    if (rate == tunedRate && fftSize == tunedSize && bins == tunedBins)
        return;
    tunedRate = rate;
    tunedSize = fftSize;
    tunedBins = bins;
    bands = displayBands(rate, rate / points, std::max(bins, 0));
    scale = 1.0F / std::max(points / kPi, 1.0F);
}

void DisplayScale::follow(std::span<const float> magnitudes, DisplayLevels& levels) const {
    if (magnitudes.empty()) {
        levels = silentLevels();
        return;
    }
    float levelDb = kSilentDisplayDb;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        // Low bands are narrower than a bin and share it.
        if (i == 0 || bands[i].loBin != bands[i - 1].loBin || bands[i].hiBin != bands[i - 1].hiBin)
            levelDb = levelOf(bands[i], magnitudes);
        levels[i] = kNewShare * levelDb + (1.0F - kNewShare) * levels[i];
    }
}

/// dB.
float DisplayScale::levelOf(const DisplayBand& band, std::span<const float> magnitudes) const {
    const auto [begin, end] =
        BinRange{band.loBin, band.hiBin}.within({0, static_cast<int>(magnitudes.size())});
    const double mean = begin < end ? meanMagnitude(magnitudes.data() + begin, end - begin) : 0.0;
    const float level = static_cast<float>(mean) * scale;
    return level > kLevelFloor ? toDb(level) : kSilentDisplayDb;
}

} // namespace dsp
