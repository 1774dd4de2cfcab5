/// The long-term spectrum of a stretch of sound.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

namespace render {

/// Mean power a bin; 0 dB is what a full-scale sine at a bin's centre reads.
struct Spectrum {
    double binHz = 0.0;
    std::vector<double> power; ///< bins 0 to n/2 − 1

    /// Level of the twelfth of an octave around hz, dB, floored at −160.
    [[nodiscard]] double levelDb(double hz) const;
};

/// Whether the analysis frame around this time, in seconds of the input, counts.
using FrameFilter = std::function<bool(double)>;

/// Averages the mono mix of `frames` frames of a file, from `firstFrame` on, over those of its
/// half-overlapping 4096-sample frames that the filter lets through. Throws tools::Failure as
/// AudioReader does.
[[nodiscard]] Spectrum averageSpectrum(const std::filesystem::path& path, std::uint64_t firstFrame,
                                       std::uint64_t frames, const FrameFilter& counts);

} // namespace render
