#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace dsp {

inline constexpr int kDisplayBands = 256;

/// One display band: transform bins [loBin, hiBin), empty if hiBin ≤ loBin, and geometric centre.
struct DisplayBand {
    std::int32_t loBin;
    std::int32_t hiBin;
    float centreHz;
};

/// The display's bands: logarithmic from 20 Hz to half the sample rate or 20 kHz, whichever is
/// lower. Each covers the bins that its edges touch, never bin 0 and none from maxBins up; bands
/// narrower than a bin repeat the same one. sampleRate in Hz and binHz, the distance of two bins in
/// Hz, must be positive and finite. [any]
using DisplayBands = std::array<DisplayBand, kDisplayBands>;
DisplayBands displayBands(float sampleRate, float binHz, int maxBins);

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
    [[nodiscard]] float levelOf(const DisplayBand& band, std::span<const float> magnitudes) const;

    DisplayBands bands{};
    float tunedRate = 0.0F;
    int tunedSize = 0;
    int tunedBins = 0;
    float scale = 1.0F; ///< 1 / norm
};

} // namespace dsp
