#pragma once

#include "dsp/Display.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

namespace dsp {

/// Mono history of an instance's output and the tables of a 2048-point display of it in 256 bands.
/// Owned by value by the plug-in instance. The audio thread fills the history; nothing evaluates
/// the rest yet.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): the history begins a line of the cache
class SpectralAnalyzer {
public:
    static constexpr int kSize = 2048;
    static constexpr int kBins = kSize / 2;
    static constexpr std::uint32_t kHistorySize = 8192;
    static constexpr std::uint32_t kHistoryMask = kHistorySize - 1;

    /// Empty history, levels at −100 dB, tables for 44100 Hz. [main]
    SpectralAnalyzer();

    /// Rebuilds the band tables for a sample rate, Hz; no usable rate counts as 44100 Hz.
    /// [main, while not processing]
    void retune(double newSampleRate);

    /// As SpectralProcessor::prefetchFor. [audio]
    void prefetchFor(int n) const;

    /// Appends n samples of (left + right) / 2, or of left alone when right is null. [audio]
    void push(const double* left, const double* right, int n);

    /// Samples pushed, free-running. Stored with release after the samples it counts: a reader that
    /// loads it with acquire sees them.
    std::atomic<std::uint32_t> writeCount{0};
    alignas(64) std::array<float, kHistorySize> history{}; ///< index = count & kHistoryMask
    std::uint32_t readCount = 0;                           ///< samples consumed
    float sampleRate = 0.0F;                               ///< Hz
    const std::int32_t* binOrder;                          ///< pair index of each bin, not owned
    std::uint32_t frameCount = 0;
    const std::array<float, kSize>& window; ///< periodic Hann window / 4096, the process'
    std::array<float, kSize> work{};        ///< transform buffer
    std::array<float, kBins> binDb{};
    std::array<float, kDisplayBands> bandDb{};
    /// Bins and centres for the rate, shared by all that have the same.
    std::shared_ptr<const DisplayBands> bands;
};

} // namespace dsp
