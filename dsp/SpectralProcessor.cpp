#include "dsp/SpectralProcessor.h"

#include "dsp/SampleRate.h"
#include "dsp/Smoothing.h"

#include <algorithm>
#include <atomic>
#include <cmath>

namespace dsp {
namespace {

/// Smallest supported size that holds 21 ms, rounded to whole samples; the largest if none does.
int sizeForRate(double sampleRate) {
    const double target = std::floor(sampleRate * 21.0 / 1000.0 + 0.5);
    int size = 512;
    while (size < target && size < SpectralProcessor::kMaxSize)
        size *= 2;
    return size;
}

/// What a band's threshold and ratio do to a magnitude. With the level L = 20·log10(m · π/N) dB a
/// compressor turns down by (1 − 1/ratio) · (L − threshold) dB; without the logarithms, that is a
/// gain of (m / threshold)^−slope, the threshold taken as a magnitude.
struct Reduction {
    float thresholdMagnitude;
    float slope;

    Reduction(double thresholdDb, double ratio, int fftSize)
        : thresholdMagnitude(static_cast<float>(fromDb(thresholdDb) * fftSize / kPi)),
          slope(ratio > 1.0 ? static_cast<float>(1.0 - 1.0 / ratio) : 0.0F) {}

    /// In [0, 1], also for a peer magnitude that is NaN, negative or infinite.
    [[nodiscard]] float gain(float peerMagnitude) const {
        const float level = std::max(kLevelFloor, peerMagnitude); // this order drops a NaN
        return level > thresholdMagnitude ? std::pow(level / thresholdMagnitude, -slope) : 1.0F;
    }
};

} // namespace

SpectralProcessor::SpectralProcessor() {
    fft::initTables();
    binOrder = fft::binOrder(kMaxSize);
    binGain.fill(1.0F);
    setTimes(10.0, 100.0);
}

std::uint32_t SpectralProcessor::reset(double newSampleRate) {
    const double rate = usableSampleRate(newSampleRate);
    const int size = sizeForRate(rate);
    sampleRate = static_cast<float>(rate);
    fftSize = size;
    hopSize = size / 2;
    numBins = size / 2;
    binOrder = fft::binOrder(size);
    for (int n = 0; n < size; ++n)
        window[static_cast<std::size_t>(n)] =
            std::sin(kPi * static_cast<float>(n) / static_cast<float>(size));
    setTimes(attackMs, releaseMs);

    hopFill = samplesSeen = 0;
    ringWriteL = ringWriteR = ringReadL = ringReadR = 0;
    for (Hop* hop : {&hopInL, &hopInR})
        hop->fill(0.0F);
    for (Frame* frame : {&frameL, &frameR, &workL, &workR, &olaL, &olaR})
        frame->fill(0.0F);
    for (Ring* ring : {&ringL, &ringR})
        ring->fill(0.0F);
    for (float& value : magnitude)
        std::atomic_ref(value).store(0.0F, std::memory_order_relaxed);
    binGain.fill(1.0F);
    grLowDb = grMidDb = grHighDb = 0.0F;
    return static_cast<std::uint32_t>(size);
}

void SpectralProcessor::setTimes(double newAttackMs, double newReleaseMs) {
    const double attack = std::max(0.1, newAttackMs); // this order drops a NaN
    const double release = std::max(1.0, newReleaseMs);
    const int hop = hopSize;
    const float frameRate = hop < 1 ? 1.0F : sampleRate / static_cast<float>(hop);
    attackMs = attack;
    releaseMs = release;
    attackCoef = onePoleCoef(attack, frameRate);
    releaseCoef = onePoleCoef(release, frameRate);
}

void SpectralProcessor::processBlock(const float* peerMagnitude, bool peerValid,
                                     const double* thresholdDb, const double* ratio,
                                     double lowSplitHz, double highSplitHz, float outputGain,
                                     float hpHz, float lpHz) {
    if (fftSize == 0)
        return;
    releasePreviousFrame(); // overlap-add accumulators to the output rings, before they are reused
    transformFrames();
    measureMagnitude();

    Bins target;
    std::fill_n(target.begin(), static_cast<int>(numBins), 1.0F);
    if (peerValid && peerMagnitude != nullptr)
        reduceBands(peerMagnitude, thresholdDb, ratio, bands(lowSplitHz, highSplitHz),
                    duckedBins(hpHz, lpHz), target);
    glideGains(target);
    applyGains();
    overlapAdd(outputGain);
    computeGrBands(lowSplitHz, highSplitHz);
}

void SpectralProcessor::computeGrBands(double lowSplitHz, double highSplitHz) {
    const BandRanges ranges = bands(lowSplitHz, highSplitHz);
    const auto meanGainDb = [&](std::size_t band) {
        // Deliberate: unlike in the gain step the top bin counts, as high band at gain 1.
        const auto [begin, end] = ranges[band].within({1, numBins});
        if (begin >= end)
            return 0.0F;
        float sum = 0.0F;
        for (int bin = begin; bin < end; ++bin)
            sum += binGain[static_cast<std::size_t>(bin)];
        return toDb(sum / static_cast<float>(end - begin));
    };
    grLowDb = meanGainDb(0);
    grMidDb = meanGainDb(1);
    grHighDb = meanGainDb(2);
}

int SpectralProcessor::readMagnitude(std::span<float> destination) const {
    const int count = std::min(static_cast<int>(destination.size()), static_cast<int>(numBins));
    for (std::size_t bin = 0; bin < static_cast<std::size_t>(count); ++bin) {
        // atomic_ref takes no const before C++26; a load writes nothing
        auto& value = const_cast<float&>(magnitude[bin]);
        destination[bin] = std::atomic_ref(value).load(std::memory_order_relaxed);
    }
    return count;
}

/// Distance of two bins. As N is a power of two, bin · binHz() is exactly bin · sampleRate / N.
float SpectralProcessor::binHz() const { return sampleRate / static_cast<float>(fftSize); }

SpectralProcessor::BandRanges SpectralProcessor::bands(double lowSplitHz,
                                                       double highSplitHz) const {
    return bandRanges(binHz(), numBins, static_cast<float>(lowSplitHz),
                      static_cast<float>(highSplitHz));
}

/// The bins that a peer may turn down: never DC and top bin, none that is not exchanged.
BinRange SpectralProcessor::duckedBins(float hpHz, float lpHz) const {
    const BinRange passBand{
        firstBinWhereNot(binHz(), numBins, [hpHz](float hz) { return !(hz >= hpHz); }),
        firstBinWhereNot(binHz(), numBins, [lpHz](float hz) { return hz <= lpHz; })};
    return passBand.within({1, std::min(numBins - 1, kExchangedBins)});
}

void SpectralProcessor::releasePreviousFrame() {
    const auto release = [hop = static_cast<std::size_t>(hopSize)](Frame& ola, Ring& ring,
                                                                   std::uint32_t& ringWrite) {
        for (std::size_t n = 0; n < hop; ++n)
            ring[ringWrite++ & kRingMask] = ola[n];
        std::copy_n(ola.begin() + hop, hop, ola.begin());
        std::fill_n(ola.begin() + hop, hop, 0.0F);
    };
    release(olaL, ringL, ringWriteL);
    release(olaR, ringR, ringWriteR);
}

void SpectralProcessor::transformFrames() {
    const auto transform = [this](const Frame& frame, Frame& work) {
        const int size = fftSize;
        for (std::size_t n = 0; n < static_cast<std::size_t>(size); ++n)
            work[n] = frame[n] * window[n];
        fft::forwardReal(work.data(), size);
    };
    transform(frameL, workL);
    transform(frameR, workR);
}

void SpectralProcessor::measureMagnitude() {
    const auto absolute = [](const Frame& work, std::size_t pair) {
        const float re = work[2 * pair];
        const float im = work[2 * pair + 1];
        return std::sqrt(re * re + im * im);
    };
    for (std::size_t bin = 0; bin < static_cast<std::size_t>(numBins); ++bin) {
        const auto pair = static_cast<std::size_t>(binOrder[bin]);
        const float mean = (absolute(workL, pair) + absolute(workR, pair)) * 0.5F;
        std::atomic_ref(magnitude[bin]).store(mean, std::memory_order_relaxed);
    }
}

void SpectralProcessor::reduceBands(const float* peerMagnitude, const double* thresholdDb,
                                    const double* ratio, const BandRanges& ranges, BinRange ducked,
                                    Bins& target) const {
    for (std::size_t band = 0; band < ranges.size(); ++band) {
        const Reduction reduction(thresholdDb[band], ratio[band], fftSize);
        const auto [begin, end] = ranges[band].within(ducked);
        for (int bin = begin; bin < end; ++bin)
            target[static_cast<std::size_t>(bin)] = reduction.gain(peerMagnitude[bin]);
    }
}

void SpectralProcessor::glideGains(const Bins& target) {
    const float attack = attackCoef;
    const float release = releaseCoef;
    const auto top = static_cast<std::size_t>(numBins - 1);
    for (std::size_t bin = 1; bin < top; ++bin) {
        const float coef = target[bin] < binGain[bin] ? attack : release;
        binGain[bin] = coef * (binGain[bin] - target[bin]) + target[bin];
    }
    binGain[0] = 1.0F;
    binGain[top] = 1.0F;
}

void SpectralProcessor::applyGains() {
    for (std::size_t bin = 0; bin < static_cast<std::size_t>(numBins); ++bin) {
        const auto pair = static_cast<std::size_t>(binOrder[bin]);
        for (Frame* work : {&workL, &workR}) {
            (*work)[2 * pair] *= binGain[bin];
            (*work)[2 * pair + 1] *= binGain[bin];
        }
    }
}

void SpectralProcessor::overlapAdd(float outputGain) {
    const auto add = [this, outputGain](Frame& work, Frame& ola) {
        const int size = fftSize;
        const float scale = outputGain * 0.5F / static_cast<float>(size);
        fft::inverseReal(work.data(), size);
        for (std::size_t n = 0; n < static_cast<std::size_t>(size); ++n)
            ola[n] += work[n] * window[n] * scale;
    };
    add(workL, olaL);
    add(workR, olaR);
}

} // namespace dsp
