#pragma once

#include <array>
#include <cstdint>

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
std::array<DisplayBand, kDisplayBands> displayBands(float sampleRate, float binHz, int maxBins);

} // namespace dsp
