#include "dsp/DisplayLevels.h"

#include "dsp/Bands.h"
#include "dsp/SampleRate.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace dsp {
namespace {

constexpr float kNewShare = 0.6F; ///< of a frame's level in the level shown

/// Mean of the values, 0 without any; what is no magnitude counts as 0, so the mean is finite.
float meanMagnitude(std::span<const float> values) {
    double sum = 0.0; // a float sum of huge values would overflow
    for (const float value : values) {
        const bool isMagnitude = value >= 0.0F && value <= std::numeric_limits<float>::max();
        sum += isMagnitude ? value : 0.0F;
    }
    return values.empty() ? 0.0F : static_cast<float>(sum / static_cast<double>(values.size()));
}

} // namespace

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
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const auto end = std::min(static_cast<std::size_t>(bands[i].hiBin), magnitudes.size());
        const auto begin = std::min(static_cast<std::size_t>(bands[i].loBin), end);
        const float level = meanMagnitude(magnitudes.subspan(begin, end - begin)) * scale;
        const float levelDb = level > kLevelFloor ? toDb(level) : kSilentDisplayDb;
        levels[i] = kNewShare * levelDb + (1.0F - kNewShare) * levels[i];
    }
}

} // namespace dsp
