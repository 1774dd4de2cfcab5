#include "dsp/ReductionTable.h"

#include <algorithm>

namespace dsp {
namespace {

/// The bins that hpHz and lpHz leave, that a peer sends, and that are neither DC nor top bin.
BinRange duckedBins(float hpHz, float lpHz, float binHz, int numBins) {
    const BinRange passBand{
        firstBinWhereNot(binHz, numBins, [hpHz](float hz) { return !(hz >= hpHz); }),
        firstBinWhereNot(binHz, numBins, [lpHz](float hz) { return hz <= lpHz; })};
    return passBand.within({1, std::min(numBins - 1, kExchangedBins)});
}

} // namespace

void ReductionTable::follow(const ReductionSettings& settings, float binHz, int fftSize) {
    if (settings == followed && binHz == followedBinHz && fftSize == followedSize)
        return;
    followed = settings;
    followedBinHz = binHz;
    followedSize = fftSize;
    const int numBins = fftSize / 2;
    ranges = bandRanges(binHz, numBins, static_cast<float>(settings.lowSplitHz),
                        static_cast<float>(settings.highSplitHz));
    inverse.fill(0.0F);
    const BinRange ducked = duckedBins(static_cast<float>(settings.hpHz),
                                       static_cast<float>(settings.lpHz), binHz, numBins);
    for (std::size_t band = 0; band < ranges.size(); ++band) {
        const double ratio = settings.ratio[band];
        const double threshold = fromDb(settings.thresholdDb[band]) * fftSize / kPi;
        const auto [begin, end] = ranges[band].within(ducked);
        if (begin >= end || !(ratio > 1.0))
            continue;
        // A peer's levels count from kLevelFloor up, and so do thresholds; NaN is above everything.
        const double lowest = std::max<double>(kLevelFloor, threshold);
        const float inverseOf = threshold == threshold ? static_cast<float>(1.0 / lowest) : 0.0F;
        std::fill(inverse.begin() + begin, inverse.begin() + end, inverseOf);
        std::fill(powers.begin() + begin, powers.begin() + end,
                  static_cast<float>(1.0 / ratio - 1.0));
    }
}

} // namespace dsp
