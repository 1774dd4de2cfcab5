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

/// sin(π·n/N), which depends on nothing else: one for all instances.
template <int N>
const float* sineWindow() {
    struct alignas(64) Window {
        std::array<float, N> values;
        Window() {
            for (std::size_t n = 0; n < N; ++n)
                values[n] = std::sin(kPi * static_cast<float>(n) / static_cast<float>(N));
        }
    };
    static const Window sWindow;
    return sWindow.values.data();
}

const float* windowOf(int size) {
    constexpr const float* (*kWindows[])() = {sineWindow<512>, sineWindow<1024>, sineWindow<2048>,
                                              sineWindow<4096>};
    return kWindows[sizeIndex(size)]();
}

/// The spectrum of no peer.
constexpr std::array<float, kExchangedBins> kSilence{};

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
    kernels->prepareSize[sizeIndex(size)]();
    window = windowOf(size);
    setTimes(attackMs, releaseMs);
    clear();
    return static_cast<std::uint32_t>(size);
}

void SpectralProcessor::clear() noexcept {
    hopFill = 0;
    filling = emitting = 0;
    const auto silence = [hop = hopSize](auto& hops) {
        for (auto& samples : hops)
            std::fill_n(samples.begin(), hop, 0.0F);
    };
    silence(in.left), silence(in.right);
    silence(out.left), silence(out.right);
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
    // Without a right channel the left one counts twice, and comes out once.
    inR = inR != nullptr ? inR : inL;
    outR = outR != nullptr ? outR : outL;
    while (n > 0) {
        const int run = std::min(n, hopSize - hopFill); // to the end of the hop at most
        exchange(inL, inR, outL, outR, run);
        if (hopFill >= hopSize) {
            hopFill = 0;
            processBlock(settings);
        }
        if ((n -= run) == 0)
            return; // as a rule
        inL += run, inR += run, outL += run, outR += run;
    }
}

void SpectralProcessor::prefetchFor(int n) const {
    constexpr int kLine = 16, kMost = 16 * kLine; // floats
    const auto at = static_cast<std::size_t>(hopFill);
    for (int i = 0; i < std::min(n, kMost); i += kLine) {
        // Any address will do; for the hop's last block they are those of what follows it.
        __builtin_prefetch(in.left[filling].data() + at + i, 1);
        __builtin_prefetch(in.right[filling].data() + at + i, 1);
        __builtin_prefetch(out.left[emitting].data() + at + i);
        __builtin_prefetch(out.right[emitting].data() + at + i);
    }
}

void SpectralProcessor::processBlock(const FrameSettings& settings) {
    if (fftSize == 0)
        return;
    reduction.follow(settings.reduction, binHz(), fftSize);
    const bool gainsAreOne = glideGains(settings);
    overlapAddFrame(gainsAreOne, settings.outputGain);
    shareMagnitude();
    if (gainsAreOne)
        grLowDb = grMidDb = grHighDb = 0.0F; // what meterBands would find
    else
        meterBands(reduction.bands());
    filling = 1 - filling;
    emitting = (emitting + 1) % 4;
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

/// Takes n samples, for which the hops being filled have room, and gives as many of 2N ago.
void SpectralProcessor::exchange(const double* inL, const double* inR, double* outL, double* outR,
                                 int n) {
    kernels->exchange({.inL = inL,
                       .inR = inR,
                       .takenL = in.left[filling].data() + hopFill,
                       .takenR = in.right[filling].data() + hopFill,
                       .readyL = out.left[emitting].data() + hopFill,
                       .readyR = out.right[emitting].data() + hopFill,
                       .outL = outL,
                       .outR = outR,
                       .n = n});
    hopFill += n;
}

/// Distance of two bins. As N is a power of two, bin · binHz() is exactly bin · sampleRate / N.
float SpectralProcessor::binHz() const { return sampleRate / static_cast<float>(fftSize); }

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
    // What has just gone out makes room for the second half of this frame.
    const std::size_t older = 1 - filling, tail = (emitting + 3) % 4;
    // The transform of both channels in one leaks at −140 dB from one into the other, which a
    // silent channel must not show.
    const PairFrame frame{.olderL = in.left[older].data(),
                          .olderR = in.right[older].data(),
                          .newerL = in.left[filling].data(),
                          .newerR = in.right[filling].data(),
                          .window = window,
                          .gain = binGain.data(),
                          .magnitude = magnitude.data(),
                          .tailL = out.left[tail].data(),
                          .tailR = out.right[tail].data(),
                          .freshL = out.left[emitting].data(),
                          .freshR = out.right[emitting].data(),
                          .scaleL = isSilent(in.left) ? 0.0F : outputGain,
                          .scaleR = isSilent(in.right) ? 0.0F : outputGain};
    const int index = sizeIndex(fftSize);
    (gainsAreOne ? kernels->passFrame : kernels->reduceFrame)[index](frame);
}

bool SpectralProcessor::isSilent(const Hops<2>& hops) const {
    return kernels->isSilent(hops[0].data(), hopSize) && kernels->isSilent(hops[1].data(), hopSize);
}

} // namespace dsp
