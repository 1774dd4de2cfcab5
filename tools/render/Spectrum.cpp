#include "tools/render/Spectrum.h"

#include "dsp/fft.h"
#include "tools/common/AudioFile.h"
#include "tools/common/Interrupt.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace render {
namespace {

constexpr std::size_t kSize = dsp::fft::kMaxSize;
constexpr std::size_t kHop = kSize / 2;
constexpr double kHalfWidth = 1.0293022366; ///< 2^(1/24): half a twelfth of an octave
constexpr double kFloorPower = 1e-16;

using Frame = std::array<float, kSize>;

Frame hannWindow() {
    Frame window{};
    for (std::size_t i = 0; i < kSize; ++i)
        window[i] = static_cast<float>(
            0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * static_cast<double>(i) / kSize));
    return window;
}

void addPower(const Frame& frame, const Frame& window, std::vector<double>& power) {
    Frame work{};
    std::transform(frame.begin(), frame.end(), window.begin(), work.begin(), std::multiplies<>());
    dsp::fft::forwardReal(work.data(), static_cast<int>(kSize));
    const std::int32_t* order = dsp::fft::binOrder(static_cast<int>(kSize));
    // Twice the plain transform, of a window with mean 1/2: a full-scale sine reads size / 2.
    constexpr double kFullScale = kSize / 2.0;
    for (std::size_t bin = 1; bin < power.size(); ++bin) {
        const auto pair = static_cast<std::size_t>(order[bin]) * 2;
        const double re = static_cast<double>(work[pair]) / kFullScale;
        const double im = static_cast<double>(work[pair + 1]) / kFullScale;
        power[bin] += re * re + im * im;
    }
}

/// Reads one hop as a mono mix into the second half of the frame, after moving that forward.
void advance(tools::AudioReader& reader, Frame& frame) {
    std::array<double, kHop> left{};
    std::array<double, kHop> right{};
    reader.read(left, right);
    std::copy(frame.begin() + kHop, frame.end(), frame.begin());
    for (std::size_t i = 0; i < kHop; ++i)
        frame[kHop + i] = static_cast<float>((left[i] + right[i]) / 2.0);
}

void skip(tools::AudioReader& reader, std::uint64_t frames) {
    std::vector<double> left(static_cast<std::size_t>(frames));
    std::vector<double> right(left.size());
    reader.read(left, right);
}

/// Interpolated between bins.
double powerAt(const std::vector<double>& power, double position) {
    const double held = std::clamp(position, 1.0, static_cast<double>(power.size()) - 2.0);
    const auto below = static_cast<std::size_t>(held);
    return std::lerp(power[below], power[below + 1], held - static_cast<double>(below));
}

} // namespace

double Spectrum::levelDb(double hz) const {
    const double from = hz / kHalfWidth / binHz;
    const double width = hz * kHalfWidth / binHz - from;
    const int steps = 8 + static_cast<int>(2.0 * width);
    double mean = 0.0;
    for (int i = 0; i <= steps; ++i)
        mean += powerAt(power, from + width * i / steps) / (steps + 1);
    return 10.0 * std::log10(std::max(mean, kFloorPower));
}

Spectrum averageSpectrum(const std::filesystem::path& path, std::uint64_t firstFrame,
                         std::uint64_t frames, const FrameFilter& counts) {
    dsp::fft::initTables();
    tools::AudioReader reader(path, tools::Damaged::Accept); // the user has
    const double rate = reader.format().sampleRate;
    Spectrum spectrum{rate / static_cast<double>(kSize), std::vector<double>(kSize / 2)};
    const Frame window = hannWindow();
    Frame frame{};
    double counted = 0.0;
    skip(reader, firstFrame);
    for (std::uint64_t end = kHop; end < frames + kHop; end += kHop) {
        tools::checkInterrupt();
        advance(reader, frame);
        if (!counts((static_cast<double>(end) - kHop) / rate))
            continue;
        addPower(frame, window, spectrum.power);
        ++counted;
    }
    for (double& power : spectrum.power)
        power /= std::max(counted, 1.0);
    return spectrum;
}

} // namespace render
