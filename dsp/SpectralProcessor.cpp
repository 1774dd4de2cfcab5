#include "dsp/SpectralProcessor.h"

#include "dsp/Smoothing.h"

#include <algorithm>
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

/// The spectrum of no peer.
constexpr std::array<float, kExchangedBins> kSilence{};

} // namespace

SpectralProcessor::SpectralProcessor(const Kernels& kernelSet) : kernels(&kernelSet) {
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
    for (int n = 0; n < size; ++n)
        window[static_cast<std::size_t>(n)] =
            std::sin(kPi * static_cast<float>(n) / static_cast<float>(size));
    setTimes(attackMs, releaseMs);

    hopFill = samplesSeen = 0;
    ringWrite = ringRead = 0;
    for (auto* hops : {&hopsL, &hopsR})
        for (Hop& hop : *hops)
            hop.fill(0.0F);
    for (Ring* ring : {&ringL, &ringR})
        ring->fill(0.0F);
    magnitude.fill(0.0F);
    sharedMagnitude.offer({magnitude.data(), static_cast<std::size_t>(size / 2)});
    binGain.fill(1.0F);
    carry.fill(0.0F);
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
    releasePreviousFrame();
    reduction.follow({.thresholdDb = {thresholdDb[0], thresholdDb[1], thresholdDb[2]},
                      .ratio = {ratio[0], ratio[1], ratio[2]},
                      .lowSplitHz = static_cast<float>(lowSplitHz),
                      .highSplitHz = static_cast<float>(highSplitHz),
                      .hpHz = hpHz,
                      .lpHz = lpHz,
                      .binHz = binHz(),
                      .fftSize = fftSize},
                     kExchangedBins);
    const bool gainsAreOne =
        glideGains(peerValid && peerMagnitude != nullptr ? peerMagnitude : kSilence.data());
    overlapAddFrame(gainsAreOne, outputGain);
    sharedMagnitude.offer({magnitude.data(), static_cast<std::size_t>(numBins)});
    meterBands(reduction.bands());
    filling = 1 - filling;
}

void SpectralProcessor::computeGrBands(double lowSplitHz, double highSplitHz) {
    meterBands(bandRanges(binHz(), numBins, static_cast<float>(lowSplitHz),
                          static_cast<float>(highSplitHz)));
}

void SpectralProcessor::meterBands(const ReductionTable::BandRanges& ranges) {
    const auto meanGainDb = [&](std::size_t band) {
        // Deliberate: unlike in the gain step the top bin counts, as high band at gain 1.
        const auto [begin, end] = ranges[band].within({1, numBins});
        if (begin >= end)
            return 0.0F;
        const float sum = kernels->sumOf(binGain.data() + begin, end - begin);
        return toDb(sum / static_cast<float>(end - begin));
    };
    grLowDb = meanGainDb(0);
    grMidDb = meanGainDb(1);
    grHighDb = meanGainDb(2);
}

int SpectralProcessor::readMagnitude(std::span<float> destination) const {
    return static_cast<int>(sharedMagnitude.read(destination));
}

/// Distance of two bins. As N is a power of two, bin · binHz() is exactly bin · sampleRate / N.
float SpectralProcessor::binHz() const { return sampleRate / static_cast<float>(fftSize); }

/// The rings are the overlap-add accumulators, too: behind ringWrite stands what a frame later will
/// be complete.
void SpectralProcessor::releasePreviousFrame() { ringWrite += static_cast<std::uint32_t>(hopSize); }

bool SpectralProcessor::glideGains(const float* peerMagnitude) {
    return kernels->glideGains({.peer = peerMagnitude,
                                .inverseThreshold = reduction.inverseThreshold(),
                                .power = reduction.power(),
                                .gain = binGain.data(),
                                .carry = carry.data(),
                                .attackCoef = attackCoef,
                                .releaseCoef = releaseCoef,
                                .bins = std::min<int>(numBins, kExchangedBins)});
}

void SpectralProcessor::overlapAddFrame(bool gainsAreOne, float outputGain) {
    const std::uint32_t tail = ringWrite & ringMask();
    const std::uint32_t fresh = (ringWrite + static_cast<std::uint32_t>(hopSize)) & ringMask();
    // The transform of both channels in one leaks at −140 dB from one into the other, which a
    // silent channel must not show.
    const PairFrame frame{.olderL = hopsL[1 - filling].data(),
                          .olderR = hopsR[1 - filling].data(),
                          .newerL = hopsL[filling].data(),
                          .newerR = hopsR[filling].data(),
                          .window = window.data(),
                          .gain = binGain.data(),
                          .magnitude = magnitude.data(),
                          .work = work.data(),
                          .tailL = ringL.data() + tail,
                          .tailR = ringR.data() + tail,
                          .freshL = ringL.data() + fresh,
                          .freshR = ringR.data() + fresh,
                          .scaleL = isSilent(hopsL) ? 0.0F : outputGain,
                          .scaleR = isSilent(hopsR) ? 0.0F : outputGain};
    const int index = sizeIndex(fftSize);
    (gainsAreOne ? kernels->passFrame : kernels->reduceFrame)[index](frame);
}

bool SpectralProcessor::isSilent(const std::array<Hop, 2>& hops) const {
    return kernels->isSilent(hops[0].data(), hopSize) && kernels->isSilent(hops[1].data(), hopSize);
}

} // namespace dsp
