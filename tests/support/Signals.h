/// Test signals. Every sample is a whole multiple of 2^-24: it survives a 32-bit port unchanged.
#pragma once

#include <cstddef>
#include <random>
#include <vector>

namespace support {

/// The same numbers in every run.
class Dice {
public:
    explicit Dice(unsigned seed) : generator(seed) {}
    unsigned below(unsigned n) { return static_cast<unsigned>(generator()) % n; }
    bool oneIn(unsigned n) { return below(n) == 0; }
    double between(double low, double high) {
        return low + (high - low) * below(1 << 24) / (1 << 24);
    }

private:
    std::mt19937 generator;
};

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
