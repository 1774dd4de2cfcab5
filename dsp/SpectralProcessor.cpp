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

/// A channel from sample `start` on; no channel stays none.
template <class Sample>
Sample* from(Sample* channel, int start) {
    return channel != nullptr ? channel + start : nullptr;
}

void emitSilence(double* left, double* right, int n) {
    if (left != nullptr)
        std::fill_n(left, n, 0.0);
    if (right != nullptr)
        std::fill_n(right, n, 0.0);
}

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
    clear();
    return static_cast<std::uint32_t>(size);
}

void SpectralProcessor::clear() noexcept {
    hopFill = samplesSeen = 0;
    ringWrite = ringRead = 0;
    filling = 0;
    for (auto* hops : {&hopsL, &hopsR})
        for (Hop& hop : *hops)
            hop.fill(0.0F);
    for (Ring* ring : {&ringL, &ringR})
        ring->fill(0.0F);
    magnitude.fill(0.0F);
    shareMagnitude();
    binGain.fill(1.0F);
    carry.fill(0.0F);
    grLowDb = grMidDb = grHighDb = 0.0F;
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

void SpectralProcessor::stream(const FrameSettings& settings, const double* inL, const double* inR,
                               double* outL, double* outR, int n) {
    if (hopSize == 0) {
        emitSilence(outL, outR, n);
        return;
    }
    for (int start = 0, run = 0; start < n; start += run) {
        // A run ends at the hop boundary. Both inputs are taken before an output, which may be the
        // same memory, is written.
        run = std::min(n - start, hopSize - hopFill);
        collect(inL + start, from(inR, start), run);
        if (hopFill >= hopSize) {
            hopFill = 0;
            processBlock(settings);
        }
        // N is a multiple of the hop, so the output opens between two runs, never within one.
        if (samplesSeen >= fftSize) {
            emit(from(outL, start), from(outR, start), run);
        } else {
            emitSilence(from(outL, start), from(outR, start), run);
            samplesSeen += run;
        }
    }
}

void SpectralProcessor::processBlock(const FrameSettings& settings) {
    if (fftSize == 0)
        return;
    releasePreviousFrame();
    reduction.follow(settings.reduction, binHz(), fftSize);
    const bool gainsAreOne = glideGains(settings);
    overlapAddFrame(gainsAreOne, settings.outputGain);
    shareMagnitude();
    meterBands(reduction.bands());
    filling = 1 - filling;
}

void SpectralProcessor::processBlock(const float* peerMagnitude, bool peerValid,
                                     const double* thresholdDb, const double* ratio,
                                     double lowSplitHz, double highSplitHz, float outputGain,
                                     float hpHz, float lpHz) {
    processBlock({.peerMagnitude = peerMagnitude,
                  .peerValid = peerValid,
                  .reduction = {.thresholdDb = {thresholdDb[0], thresholdDb[1], thresholdDb[2]},
                                .ratio = {ratio[0], ratio[1], ratio[2]},
                                .lowSplitHz = lowSplitHz,
                                .highSplitHz = highSplitHz,
                                .hpHz = hpHz,
                                .lpHz = lpHz},
                  .outputGain = outputGain});
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

void SpectralProcessor::shareMagnitude() {
    sharedMagnitude.offer({magnitude.data(), static_cast<std::size_t>(numBins)});
}

int SpectralProcessor::readMagnitude(std::span<float> destination) const {
    return static_cast<int>(sharedMagnitude.read(destination));
}

/// Into the hops being filled, which have room for n samples; without a right channel the left one
/// twice.
void SpectralProcessor::collect(const double* left, const double* right, int n) {
    kernels->toFloat(left, hopsL[filling].data() + hopFill, n);
    kernels->toFloat(right != nullptr ? right : left, hopsR[filling].data() + hopFill, n);
    hopFill += n;
}

/// Takes n samples of each channel from the rings, as silence where they are empty.
void SpectralProcessor::emit(double* left, double* right, int n) {
    const auto wanted = static_cast<std::uint32_t>(n);
    const std::uint32_t taken = std::min(wanted, ringWrite - ringRead);
    const int count = static_cast<int>(taken);
    copyFromRing(ringL, left, count);
    copyFromRing(ringR, right, count);
    ringRead += taken;
    emitSilence(from(left, count), from(right, count), n - count);
}

/// From ringRead on; out may be null. Reading keeps step with the hops, so a run, which ends with a
/// hop, never passes the ring's end.
void SpectralProcessor::copyFromRing(const Ring& ring, double* out, int n) const {
    if (out != nullptr)
        kernels->toDouble(ring.data() + (ringRead & ringMask()), out, n);
}

std::uint32_t SpectralProcessor::ringMask() const {
    return 4 * static_cast<std::uint32_t>(fftSize) - 1;
}

/// Distance of two bins. As N is a power of two, bin · binHz() is exactly bin · sampleRate / N.
float SpectralProcessor::binHz() const { return sampleRate / static_cast<float>(fftSize); }

/// The rings are the overlap-add accumulators, too: behind ringWrite stands what a frame later will
/// be complete.
void SpectralProcessor::releasePreviousFrame() { ringWrite += static_cast<std::uint32_t>(hopSize); }

bool SpectralProcessor::glideGains(const FrameSettings& settings) {
    const bool hasPeer = settings.peerValid && settings.peerMagnitude != nullptr;
    return kernels->glideGains({.peer = hasPeer ? settings.peerMagnitude : kSilence.data(),
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
