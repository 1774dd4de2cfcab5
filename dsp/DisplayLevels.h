#pragma once

#include "dsp/DisplayBins.h"

#include <array>
#include <span>

namespace dsp {

/// Level shown for silence, dB.
inline constexpr float kSilentDisplayDb = -100.0F;

/// One level per display band, dB.
using DisplayLevels = std::array<float, kDisplayBands>;

/// What is shown before and without a spectrum.
[[nodiscard]] constexpr DisplayLevels silentLevels() {
    DisplayLevels levels{};
    levels.fill(kSilentDisplayDb);
    return levels;
}

/// Turns published spectra into display levels. Keeps the band tables of the transform last seen,
/// so that a frame computes no logarithm but one a band. [one thread]
class DisplayScale {
public:
    /// Prepares for a transform of fftSize points at sampleRate Hz, of which `bins` magnitudes
    /// are given; cheap when nothing has changed.
    void retune(float sampleRate, int fftSize, int bins);

    /// Moves the levels towards the spectrum's, 60 % of the way. `magnitudes`: at most 1024
    /// unnormalised values on the transform's own scale; any bit pattern is survived and gives
    /// finite levels. None: all levels become silent at once.
    void follow(std::span<const float> magnitudes, DisplayLevels& levels) const;

private:
    std::array<DisplayBand, kDisplayBands> bands{};
    float tunedRate = 0.0F;
    int tunedSize = 0;
    int tunedBins = 0;
    float scale = 1.0F; ///< 1 / norm
};

} // namespace dsp
