#include "dsp/SpectralAnalyzer.h"

#include "dsp/Kernels.h"
#include "dsp/Smoothing.h"
#include "dsp/fft.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <numbers>

namespace dsp {

namespace {

const std::array<float, SpectralAnalyzer::kSize>& hannWindow() {
    static const auto sWindow = [] {
        std::array<float, SpectralAnalyzer::kSize> values{};
        for (std::size_t i = 0; i < values.size(); ++i) {
            const double phase =
                2.0 * std::numbers::pi * static_cast<double>(i) / SpectralAnalyzer::kSize;
            values[i] = static_cast<float>((1.0 - std::cos(phase)) / 8192.0);
        }
        return values;
    }();
    return sWindow;
}

/// Those of the rate last asked for, as long as anybody has them.
std::shared_ptr<const DisplayBands> sharedBands(float sampleRate) {
    static std::mutex sMutex;
    static std::weak_ptr<const DisplayBands> sLast;
    static float sRate = 0.0F;
    const std::scoped_lock lock(sMutex);
    auto bands = sRate == sampleRate ? sLast.lock() : nullptr;
    if (!bands) {
        bands = std::make_shared<const DisplayBands>(displayBands(
            sampleRate, sampleRate / SpectralAnalyzer::kSize, SpectralAnalyzer::kBins));
        sLast = bands;
        sRate = sampleRate;
    }
    return bands;
}

} // namespace

SpectralAnalyzer::SpectralAnalyzer() : binOrder(fft::binOrder(kSize)), window(hannWindow()) {
    binDb.fill(-100.0F);
    bandDb.fill(-100.0F);
    retune(kDefaultSampleRate);
}

void SpectralAnalyzer::retune(double newSampleRate) {
    sampleRate = static_cast<float>(usableSampleRate(newSampleRate));
    bands = sharedBands(sampleRate);
}

void SpectralAnalyzer::prefetchFor(int n) const {
    constexpr int kLine = 16; // floats
    const float* const next =
        history.data() + (writeCount.load(std::memory_order_relaxed) & kHistoryMask);
    for (int i = 0; i < n; i += kLine)
        __builtin_prefetch(next + i, 1); // any address will do
}

void SpectralAnalyzer::push(const double* left, const double* right, int n) {
    const Kernels* const kernels = usableKernels().front();
    const double* const other = right != nullptr ? right : left;
    std::uint32_t count = writeCount.load(std::memory_order_relaxed);
    for (int i = 0, run = 0; i < n; i += run, count += static_cast<std::uint32_t>(run)) {
        const std::uint32_t start = count & kHistoryMask;
        run = std::min(n - i, static_cast<int>(kHistorySize - start));
        kernels->meanOf(left + i, other + i, history.data() + start, run);
    }
    writeCount.store(count, std::memory_order_release);
}

} // namespace dsp
