#include "tests/support/Signals.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

namespace support {
namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;

void add(Stereo& signal, double left, double right) {
    signal.left.push_back(std::ldexp(std::round(std::ldexp(left, 24)), -24));
    signal.right.push_back(std::ldexp(std::round(std::ldexp(right, 24)), -24));
}

} // namespace

Stereo noise(std::size_t frames, double level, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> uniform(-level, level);
    Stereo signal;
    for (std::size_t i = 0; i < frames; ++i) {
        const double left = uniform(random);
        add(signal, left, uniform(random));
    }
    return signal;
}

Stereo tones(std::size_t frames, double rate, double level) {
    constexpr double kChordHz[] = {82.4, 441.0, 1318.5, 7040.0};
    Stereo signal;
    for (std::size_t i = 0; i < frames; ++i) {
        const double seconds = static_cast<double>(i) / rate;
        const double gate = std::fmod(seconds, 0.5) < 0.3 ? level / 4.0 : 0.0;
        double sum = 0.0;
        for (const double hz : kChordHz)
            sum += std::sin(kTwoPi * hz * seconds);
        add(signal, gate * sum, 0.7 * gate * sum);
    }
    return signal;
}

double largestError(const Stereo& out, const Stereo& in, std::size_t delay, double gain,
                    std::size_t from) {
    double largest = 0.0;
    for (std::size_t i = from; i < out.size(); ++i)
        largest = std::max({largest, std::abs(out.left[i] - gain * in.left[i - delay]),
                            std::abs(out.right[i] - gain * in.right[i - delay])});
    return largest;
}

double rms(const Stereo& signal, std::size_t from) {
    double sum = 0.0;
    for (std::size_t i = from; i < signal.size(); ++i)
        sum += signal.left[i] * signal.left[i] + signal.right[i] * signal.right[i];
    return std::sqrt(sum / 2.0 / static_cast<double>(signal.size() - from));
}

} // namespace support
