#include "dsp/Bands.h"

#include "dsp/Kernels.h"

namespace dsp {

double meanMagnitude(const float* magnitudes, int count) {
    return usableKernels().front()->sumOfMagnitudes(magnitudes, count) / count;
}

BandLevels bandLevels(const float* magnitude, int count, float binHz, double lowSplitHz,
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

} // namespace dsp
