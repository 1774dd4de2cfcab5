#pragma once

#include "dsp/SpectralProcessor.h"

#include <array>

namespace dsp {

/// What SpectralProcessor::processBlock takes, by its names and in its units.
struct FrameSettings {
    const float* peerMagnitude = nullptr; ///< kExchangedBins values, or null
    bool peerValid = false;
    std::array<double, kBandCount> thresholdDb{};
    std::array<double, kBandCount> ratio{1.0, 1.0, 1.0};
    double lowSplitHz = 200.0;
    double highSplitHz = 5000.0;
    float outputGain = 1.0F;
    float hpHz = 20.0F;
    float lpHz = 20000.0F;
};

/// Streams n samples of a channel pair through the processor, running a frame at each full hop.
/// The output is the input of 2N samples ago; before that, and before the first reset, silence.
///
/// Mono: inR null or equal to inL, outR null. An output may be the buffer of either input (in
/// place, also with the channels crossed), but may not overlap one in part.
/// Any input is survived: NaN counts as 0, and samples are limited to ±1e15. [audio]
void streamBlock(SpectralProcessor& processor, const FrameSettings& settings, const double* inL,
                 const double* inR, double* outL, double* outR, int n);

} // namespace dsp
