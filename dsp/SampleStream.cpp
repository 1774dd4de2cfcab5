#include "dsp/SampleStream.h"

#include <algorithm>
#include <limits>

namespace dsp {
namespace {

void runFrame(SpectralProcessor& processor, const FrameSettings& settings) {
    processor.hopFill = 0;
    processor.processBlock(settings.peerMagnitude, settings.peerValid, settings.thresholdDb.data(),
                           settings.ratio.data(), settings.lowSplitHz, settings.highSplitHz,
                           settings.outputGain, settings.hpHz, settings.lpHz);
}

void emitSilence(double* out, int n) {
    if (out != nullptr)
        std::fill_n(out, n, 0.0);
}

/// Copies n samples from a position of a ring to out; out may be null. Reading keeps step with the
/// hops, so a run, which ends with a hop, never passes the ring's end.
void copyFromRing(const SpectralProcessor& p, const SpectralProcessor::Ring& ring,
                  std::uint32_t position, double* out, int n) {
    if (out != nullptr)
        p.kernels->toDouble(ring.data() + (position & p.ringMask()), out, n);
}

/// Takes n samples of each channel from the rings, as silence where they are empty.
void emit(SpectralProcessor& p, double* left, double* right, int n) {
    const auto wanted = static_cast<std::uint32_t>(n);
    const std::uint32_t taken = std::min(wanted, p.ringWrite - p.ringRead);
    const int count = static_cast<int>(taken);
    copyFromRing(p, p.ringL, p.ringRead, left, count);
    copyFromRing(p, p.ringR, p.ringRead, right, count);
    p.ringRead += taken;
    emitSilence(left != nullptr ? left + count : nullptr, n - count);
    emitSilence(right != nullptr ? right + count : nullptr, n - count);
}

std::int32_t saturatedSum(std::int32_t seen, int run) {
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    return seen > kMost - run ? kMost : seen + run;
}

} // namespace

void streamBlock(SpectralProcessor& p, const FrameSettings& settings, const double* inL,
                 const double* inR, double* outL, double* outR, int n) {
    if (p.hopSize == 0) {
        emitSilence(outL, n);
        emitSilence(outR, n);
        return;
    }
    const auto from = [](auto* channel, int start) { return channel ? channel + start : nullptr; };
    for (int start = 0, run = 0; start < n; start += run) {
        // A run ends at the hop boundary. Both inputs are taken before an output, which may be the
        // same memory, is written.
        run = std::min(n - start, p.hopSize - p.hopFill);
        const double* const right = (inR != nullptr ? inR : inL) + start;
        p.kernels->toFloat(inL + start, p.hopsL[p.filling].data() + p.hopFill, run);
        p.kernels->toFloat(right, p.hopsR[p.filling].data() + p.hopFill, run);
        // N is a multiple of the hop, so the output opens between two runs, never within one.
        const bool open = p.samplesSeen >= p.fftSize;
        p.samplesSeen = saturatedSum(p.samplesSeen, run);
        p.hopFill += run;
        if (p.hopFill >= p.hopSize)
            runFrame(p, settings);

        if (open) {
            emit(p, from(outL, start), from(outR, start), run);
        } else {
            emitSilence(from(outL, start), run);
            emitSilence(from(outR, start), run);
        }
    }
}

} // namespace dsp
