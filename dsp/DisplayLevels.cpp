#include "dsp/DisplayLevels.h"

#include "dsp/Bands.h"
#include "dsp/Magnitudes.h"
#include "dsp/SampleRate.h"

#include <algorithm>
#include <cmath>

namespace dsp {
namespace {

constexpr float kNewShare = 0.6F; ///< of a frame's level in the level shown

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
        const auto [begin, end] = BinRange{bands[i].loBin, bands[i].hiBin}.within(
            {0, static_cast<int>(magnitudes.size())});
        const double mean =
            begin < end ? meanMagnitude(magnitudes.data() + begin, end - begin) : 0.0;
        const float level = static_cast<float>(mean) * scale;
        const float levelDb = level > kLevelFloor ? toDb(level) : kSilentDisplayDb;
        levels[i] = kNewShare * levelDb + (1.0F - kNewShare) * levels[i];
    }
}

} // namespace dsp
