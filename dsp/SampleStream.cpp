#include "dsp/SampleStream.h"

#include <algorithm>
#include <limits>

namespace dsp {
namespace {

/// At this limit the squared magnitude of the largest frame, (2 · 4096 · 1e15)², is below the
/// greatest float: nothing downstream can become infinite.
constexpr double kMaxSample = 1e15;

float limited(double sample) {
    if (sample != sample)
        return 0.0F; // NaN
    return static_cast<float>(std::clamp(sample, -kMaxSample, kMaxSample));
}

void collect(const double* in, float* hop, int n) {
    for (int i = 0; i < n; ++i)
        hop[i] = limited(in[i]);
}

void shiftIn(SpectralProcessor::Frame& frame, const SpectralProcessor::Hop& hop, int hopSize) {
    std::copy_n(frame.begin() + hopSize, hopSize, frame.begin());
    std::copy_n(hop.begin(), hopSize, frame.begin() + hopSize);
}

void runFrame(SpectralProcessor& processor, const FrameSettings& settings) {
    shiftIn(processor.frameL, processor.hopInL, processor.hopSize);
    shiftIn(processor.frameR, processor.hopInR, processor.hopSize);
    processor.hopFill = 0;
    processor.processBlock(settings.peerMagnitude, settings.peerValid, settings.thresholdDb.data(),
                           settings.ratio.data(), settings.lowSplitHz, settings.highSplitHz,
                           settings.outputGain, settings.hpHz, settings.lpHz);
}

/// Takes n samples from a ring, as silence where it is empty; out may be null.
void emit(const SpectralProcessor::Ring& ring, std::uint32_t& read, std::uint32_t write,
          double* out, int n) {
    for (int i = 0; i < n; ++i) {
        const double sample =
            read != write ? double{ring[read++ & SpectralProcessor::kRingMask]} : 0.0;
        if (out != nullptr)
            out[i] = sample;
    }
}

void emitSilence(double* out, int n) {
    if (out != nullptr)
        std::fill_n(out, n, 0.0);
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
        collect(inL + start, p.hopInL.data() + p.hopFill, run);
        collect((inR != nullptr ? inR : inL) + start, p.hopInR.data() + p.hopFill, run);
        // N is a multiple of the hop, so the output opens between two runs, never within one.
        const bool open = p.samplesSeen >= p.fftSize;
        p.samplesSeen = saturatedSum(p.samplesSeen, run);
        p.hopFill += run;
        if (p.hopFill >= p.hopSize)
            runFrame(p, settings);

        double* const left = from(outL, start);
        double* const right = from(outR, start);
        if (open) {
            emit(p.ringL, p.ringReadL, p.ringWriteL, left, run);
            emit(p.ringR, p.ringReadR, p.ringWriteR, right, run);
        } else {
            emitSilence(left, run);
            emitSilence(right, run);
        }
    }
}

} // namespace dsp
