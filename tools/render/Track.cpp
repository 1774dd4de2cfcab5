#include "tools/render/Track.h"

#include "host/Extensions.h"
#include "tools/render/Failure.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace render {
namespace {

float peakOf(std::span<const double> left, std::span<const double> right) {
    double peak = 0.0;
    for (const auto& channel : {left, right})
        for (const double sample : channel)
            peak = std::max(peak, std::abs(sample));
    return static_cast<float>(peak);
}

} // namespace

Track::Track(const host::Library& library, const TrackOptions& options)
    : mReader(options.input), mInstance(library, mCallbacks) {
    if (!mInstance.init())
        fail("the plug-in refused to initialise");
    mTrace.inputPath = options.input;
    mTrace.frames = format().frames;
}

void Track::prepare(std::uint32_t blockSize) {
    const auto inputs = host::portSpecs(mInstance, true);
    const auto outputs = host::portSpecs(mInstance, false);
    if (inputs.empty() || outputs.empty() || inputs[0].channels != 2 || outputs[0].channels != 2)
        fail("the plug-in has no stereo input and output");
    mBuffers.emplace(inputs, outputs, blockSize);
    if (!mInstance.activate(format().sampleRate, 1, blockSize) || !mInstance.startProcessing())
        fail("the plug-in refused to process at " + std::to_string(format().sampleRate) + " Hz");
}

void Track::openOutput(const std::filesystem::path& path, std::uint64_t delayFrames,
                       bool keepDelay) {
    const Cut whole{0, format().frames + delayFrames};
    const Cut aligned{delayFrames, format().frames};
    mWriter.emplace(path, format(), mTrace.inputPath, keepDelay ? whole : aligned);
    mTrace.outputPath = path;
    mTrace.outputOffset = keepDelay ? delayFrames : 0;
}

void Track::process(std::uint32_t frames) {
    host::PortBuffer& in = mBuffers->input();
    host::PortBuffer& out = mBuffers->output();
    const auto left = in.channel64(0).first(frames);
    const auto right = in.channel64(1).first(frames);
    mReader.read(left, right);
    mTrace.blocks.push_back({{}, peakOf(left, right)});
    if (mInstance.process(*mBuffers, frames) == CLAP_PROCESS_ERROR)
        fail("the plug-in failed while processing " + mTrace.inputPath.string());
    mInstance.pumpMainThread();
    mWriter->write(out.channel64(0).first(frames), out.channel64(1).first(frames));
}

void Track::addReduction(const float (&gainReductionDb)[kBands]) {
    std::copy_n(gainReductionDb, kBands, mTrace.blocks.back().gainReductionDb.begin());
}

TrackTrace Track::finish() {
    mWriter->finish();
    mTrace.clippedSamples = mWriter->clippedSamples();
    return std::move(mTrace);
}

} // namespace render
