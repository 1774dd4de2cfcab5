#pragma once

#include "dsp/Bands.h"
#include "dsp/Kernels.h"
#include "dsp/ReductionTable.h"
#include "dsp/Relaxed.h"
#include "dsp/SharedSpectrum.h"

#include <array>
#include <cstdint>
#include <span>

namespace dsp {

/// What a frame is ducked against, and how.
struct FrameSettings {
    /// min(numBins, kExchangedBins) magnitudes on this transform's scale, or null; any bit pattern
    /// is survived. Bin k of the peer is bin k here, whatever the peer's rate.
    const float* peerMagnitude = nullptr;
    bool peerValid = false; ///< false: gains glide to 1, by releaseMs
    ReductionSettings reduction{};
    float outputGain = 1.0F; ///< linear, finite
};

/// Spectral ducker: turns down those bins of its own stereo signal in which a peer's spectrum is
/// above a threshold. Short-time Fourier transform with 50 % overlap, sine window before and after.
///
/// Owned by value by the plug-in instance; all memory is inside. The audio thread owns everything
/// but what is marked otherwise.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): members stand by who writes them
class SpectralProcessor {
public:
    static constexpr int kMaxSize = 4096;
    static constexpr int kMaxBins = kMaxSize / 2;

    /// Floats by which arrays are longer than their power of two: side by side they would otherwise
    /// compete for the same sets of the cache, which cost large frames a fifth of their time.
    static constexpr int kStagger = 48;
    using Bins = std::array<float, kMaxBins + kStagger>; ///< with room for Nyquist

    /// Sizes are 0, times 10 and 100 ms and all gains 1 until the first reset; processBlock then
    /// does nothing, and stream gives silence. Kernels: those of a machine's processor unless a
    /// test or benchmark wants others. [main]
    explicit SpectralProcessor(const Kernels& kernelSet = *usableKernels().front());

    /// Chooses the transform size (the power of two from 512 to 4096 that holds 21 ms), computes
    /// window and coefficients and clears the sound. A rate that is no rate (NaN, infinite, below
    /// 1 Hz) counts as 44100 Hz. Returns the size N, samples. [main, while not processing]
    std::uint32_t reset(double sampleRate);

    /// Forgets the sound: input, output, spectrum, gains and meters are as after reset, and so is
    /// what stream gives next. Sizes, times and tables stay. [audio; main, while not processing]
    void clear() noexcept;

    /// Stores attack (at least 0.1) and release (at least 1.0), ms, and computes both coefficients
    /// for the current frame rate sampleRate / hopSize (1 Hz before the first reset). [any]
    void setTimes(double newAttackMs, double newReleaseMs);

    /// Streams n samples of a channel pair, running a frame at each full hop. The output is the
    /// input of 2N samples ago; before that silence.
    ///
    /// Mono: inR null or equal to inL, outR null. An output may be the buffer of either input (in
    /// place, also with the channels crossed), but may not overlap one in part.
    /// Any input is survived: NaN counts as 0, and samples are limited to ±1e15. [audio]
    void stream(const FrameSettings& settings, const double* inL, const double* inR, double* outL,
                double* outR, int n);

    /// Asks for the memory that n samples will touch: where many instances take turns it comes from
    /// far, but while other work is done. [audio]
    void prefetchFor(int n) const;

    /// Whether to stream n more samples runs a frame. [audio]
    [[nodiscard]] bool runsFrameWithin(int n) const { return hopFill + n >= hopSize; }

    /// One frame over the last two hops of each channel; stream calls it. [audio]
    void processBlock(const FrameSettings& settings);

    /// The same, the settings one by one; thresholdDb and ratio have a value a band. [audio]
    void processBlock(const float* peerMagnitude, bool peerValid, const double* thresholdDb,
                      const double* ratio, double lowSplitHz, double highSplitHz, float outputGain,
                      float hpHz, float lpHz);

    /// Fills grLowDb, grMidDb, grHighDb: dB of each band's mean gain, 0 for an empty band. The DC
    /// bin does not count. [audio]
    void computeGrBands(double lowSplitHz, double highSplitHz);

    /// Copies the first of the numBins magnitudes into the caller's storage and returns how many.
    /// A frame's spectrum, whole; waits while one is being written. [any but audio]
    int readMagnitude(std::span<float> destination) const;

    // Written by reset, read by every thread.
    Relaxed<float> sampleRate = 0.0F; ///< Hz
    Relaxed<std::int32_t> fftSize = 0;
    Relaxed<std::int32_t> hopSize = 0;
    Relaxed<std::int32_t> numBins = 0;

    // Written by setTimes on any thread, read by the audio thread.
    Relaxed<float> attackCoef;
    Relaxed<float> releaseCoef;
    Relaxed<double> attackMs;
    Relaxed<double> releaseMs;

    const Kernels* const kernels;
    float grLowDb = 0.0F, grMidDb = 0.0F, grHighDb = 0.0F;

private:
    /// The last hops of each channel, one behind the other.
    template <std::size_t kCount>
    using Hops = std::array<std::array<float, kMaxSize / 2 + kStagger>, kCount>;
    template <std::size_t kCount>
    struct Pair {
        Hops<kCount> left, right;
    };

    void exchange(const double* inL, const double* inR, double* outL, double* outR, int n);
    [[nodiscard]] float binHz() const;
    [[nodiscard]] bool glideGains(const FrameSettings& settings);
    void overlapAddFrame(bool gainsAreOne, float outputGain);
    [[nodiscard]] bool isSilent(const Hops<2>& hops) const;
    void shareMagnitude();
    void meterBands(const ReductionTable::BandRanges& ranges);

    const float* window = nullptr; ///< N values, the process'
    std::int32_t hopFill = 0;      ///< samples in the hops being filled
    std::size_t filling = 0;       ///< which of the hops in is being filled
    std::size_t emitting = 0;      ///< which of the hops out goes out meanwhile

public:
    alignas(64) Bins magnitude{}; ///< mean of both channels, unnormalised; see readMagnitude
    alignas(64) Bins binGain{};   ///< smoothed, linear, 0 to 1

private:
    alignas(64) Pair<2> in; ///< the other holds the hop before
    /// Behind the one going out two that are complete and one that the next frame completes. Not
    /// cleared until reset: nobody reads what no size is chosen for.
    alignas(64) Pair<4> out;
    alignas(64) Bins carry{}; ///< see GainGlide
    ReductionTable reduction;
    SharedSpectrum<kMaxBins> sharedMagnitude;
};

} // namespace dsp
