/// Test signals. Every sample is a whole multiple of 2^-24: it survives a 32-bit port unchanged.
#pragma once

#include <cstddef>
#include <vector>

namespace support {

struct Stereo {
    std::vector<double> left, right;

    [[nodiscard]] std::size_t size() const { return left.size(); }
};

/// White noise, uniform in ±level, different in both channels.
Stereo noise(std::size_t frames, double level, unsigned seed);
/// A chord that reaches every default band, with pauses: the gains must fall and rise again.
Stereo tones(std::size_t frames, double rate, double level);

/// Largest difference of `out` from gain × `in` as it was `delay` samples ago, from sample `from`
/// (at least `delay`) on.
double largestError(const Stereo& out, const Stereo& in, std::size_t delay, double gain,
                    std::size_t from);
/// Root mean square of both channels from sample `from` on.
double rms(const Stereo& signal, std::size_t from = 0);

} // namespace support
