#include "dsp/SpectralAnalyzer.h"

#include "dsp/Kernels.h"
#include "dsp/Smoothing.h"
#include "dsp/fft.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace dsp {

SpectralAnalyzer::SpectralAnalyzer() {
    fft::initTables();
    binOrder = fft::binOrder(kSize);
    for (std::size_t i = 0; i < window.size(); ++i) {
        const double phase = 2.0 * std::numbers::pi * static_cast<double>(i) / kSize;
        window[i] = static_cast<float>((1.0 - std::cos(phase)) / 8192.0);
    }
    binDb.fill(-100.0F);
    bandDb.fill(-100.0F);
    retune(kDefaultSampleRate);
}

void SpectralAnalyzer::retune(double newSampleRate) {
    sampleRate = static_cast<float>(usableSampleRate(newSampleRate));
    const auto bands = displayBands(sampleRate, sampleRate / kSize, kBins);
    for (std::size_t i = 0; i < bands.size(); ++i) {
        bandLoBin[i] = bands[i].loBin;
        bandHiBin[i] = bands[i].hiBin;
        bandCentreHz[i] = bands[i].centreHz;
    }
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
