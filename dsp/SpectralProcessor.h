#pragma once

#include "dsp/Bands.h"
#include "dsp/Relaxed.h"
#include "dsp/fft.h"

#include <array>
#include <cstdint>
#include <span>

namespace dsp {

/// Bins of a spectrum that instances exchange; higher bins are never reduced.
inline constexpr int kExchangedBins = 1024;

/// Spectral ducker: turns down those bins of its own stereo signal in which a peer's spectrum is
/// above a threshold. Short-time Fourier transform with 50 % overlap, sine window before and after.
///
/// Owned by value by the plug-in instance; all memory is inside. The audio thread owns everything
/// but what is marked otherwise. dsp::streamBlock feeds it sample by sample and takes its output.
class SpectralProcessor {
public:
    static constexpr int kMaxSize = fft::kMaxSize;
    static constexpr int kMaxBins = kMaxSize / 2;
    static constexpr std::uint32_t kRingSize = 16384;
    static constexpr std::uint32_t kRingMask = kRingSize - 1;

    using Hop = std::array<float, kMaxSize / 2>;
    using Frame = std::array<float, kMaxSize>;
    using Bins = std::array<float, kMaxBins>;
    using Ring = std::array<float, kRingSize>;

    /// Sizes are 0, times 10 and 100 ms and all gains 1 until the first reset; processBlock then
    /// does nothing. Builds the transform's tables. [main]
    SpectralProcessor();

    /// Chooses the transform size (the power of two from 512 to 4096 that holds 21 ms), computes
    /// window and coefficients and clears all signal state. A rate that is no rate (NaN, infinite,
    /// below 1 Hz) counts as 44100 Hz. Returns the size N, samples. [main, while not processing]
    std::uint32_t reset(double sampleRate);

    /// Stores attack (at least 0.1) and release (at least 1.0), ms, and computes both coefficients
    /// for the current frame rate sampleRate / hopSize (1 Hz before the first reset). [any]
    void setTimes(double newAttackMs, double newReleaseMs);

    /// One frame over frameL and frameR, to be called whenever hopSize new samples are in them.
    ///
    /// peerMagnitude: min(numBins, kExchangedBins) magnitudes on this transform's scale, or null;
    /// any bit pattern is survived. Bin k of the peer is bin k here, whatever the peer's rate.
    /// peerValid: false glides all gains to 1 at the release rate.
    /// thresholdDb, ratio: low, mid, high band; dB over N/π, and n : 1. A ratio up to 1 switches a
    /// band off. outputGain: linear, finite. hpHz, lpHz: bins outside, both ends inclusive, are not
    /// reduced. [audio]
    void processBlock(const float* peerMagnitude, bool peerValid, const double* thresholdDb,
                      const double* ratio, double lowSplitHz, double highSplitHz, float outputGain,
                      float hpHz, float lpHz);

    /// Fills grLowDb, grMidDb, grHighDb: dB of each band's mean gain, 0 for an empty band. The DC
    /// bin does not count. [audio]
    void computeGrBands(double lowSplitHz, double highSplitHz);

    /// Copies the first of the numBins magnitudes into the caller's storage and returns how many.
    /// The copy may mix two frames. [any, also while the audio thread runs]
    int readMagnitude(std::span<float> destination) const;

    // Written by reset, read by every thread.
    Relaxed<float> sampleRate = 0.0F; ///< Hz
    const std::int32_t* binOrder;     ///< pair index of each bin, not owned
    Relaxed<std::int32_t> fftSize = 0;
    Relaxed<std::int32_t> hopSize = 0;
    Relaxed<std::int32_t> numBins = 0;

    std::int32_t hopFill = 0;     ///< samples in hopInL and hopInR
    std::int32_t samplesSeen = 0; ///< since reset, saturates

    // Written by setTimes on any thread, read by the audio thread.
    Relaxed<float> attackCoef;
    Relaxed<float> releaseCoef;
    Relaxed<double> attackMs;
    Relaxed<double> releaseMs;

    std::uint32_t ringWriteL = 0, ringWriteR = 0, ringReadL = 0, ringReadR = 0; ///< free-running
    Hop hopInL{}, hopInR{};   ///< the hop being collected
    Frame frameL{}, frameR{}; ///< the last N input samples, oldest first
    Frame workL{}, workR{};   ///< packed spectra of the frame
    Frame olaL{}, olaR{};     ///< overlap-add accumulators
    Ring ringL{}, ringR{};    ///< output, index = position & kRingMask
    Frame window{};
    Bins magnitude{}; ///< mean of both channels, unnormalised; other threads use readMagnitude
    Bins binGain{};   ///< smoothed, linear, 0 to 1
    float grLowDb = 0.0F, grMidDb = 0.0F, grHighDb = 0.0F;

private:
    using BandRanges = std::array<BinRange, kBandCount>;

    [[nodiscard]] float binHz() const;
    [[nodiscard]] BandRanges bands(double lowSplitHz, double highSplitHz) const;
    [[nodiscard]] BinRange duckedBins(float hpHz, float lpHz) const;

    void releasePreviousFrame();
    void transformFrames();
    void measureMagnitude();
    void reduceBands(const float* peerMagnitude, const double* thresholdDb, const double* ratio,
                     const BandRanges& ranges, BinRange ducked, Bins& target) const;
    void glideGains(const Bins& target);
    void applyGains();
    void overlapAdd(float outputGain);
};

} // namespace dsp
