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
    : reader(options.input), pluginInstance(library, callbacks) {
    if (!pluginInstance.init())
        fail("the plug-in refused to initialise");
    traced.inputPath = options.input;
    traced.frames = format().frames;
}

void Track::prepare(std::uint32_t blockSize) {
    const auto inputs = host::portSpecs(pluginInstance, true);
    const auto outputs = host::portSpecs(pluginInstance, false);
    if (inputs.empty() || outputs.empty() || inputs[0].channels != 2 || outputs[0].channels != 2)
        fail("the plug-in has no stereo input and output");
    buffers.emplace(inputs, outputs, blockSize);
    if (!pluginInstance.activate(format().sampleRate, 1, blockSize) ||
        !pluginInstance.startProcessing())
        fail("the plug-in refused to process at " + std::to_string(format().sampleRate) + " Hz");
}

void Track::openOutput(const std::filesystem::path& path, std::uint64_t delayFrames,
                       bool keepDelay) {
    const Cut whole{0, format().frames + delayFrames};
    const Cut aligned{delayFrames, format().frames};
    writer.emplace(path, format(), traced.inputPath, keepDelay ? whole : aligned);
    traced.outputPath = path;
    traced.outputOffset = keepDelay ? delayFrames : 0;
}

void Track::process(std::uint32_t frames) {
    host::PortBuffer& in = buffers->input();
    host::PortBuffer& out = buffers->output();
    const auto left = in.channel64(0).first(frames);
    const auto right = in.channel64(1).first(frames);
    reader.read(left, right);
    traced.blocks.push_back({{}, peakOf(left, right)});
    if (pluginInstance.process(*buffers, frames) == CLAP_PROCESS_ERROR)
        fail("the plug-in failed while processing " + traced.inputPath.string());
    pluginInstance.pumpMainThread();
    writer->write(out.channel64(0).first(frames), out.channel64(1).first(frames));
}

void Track::addReduction(const float (&gainReductionDb)[kBands]) {
    std::copy_n(gainReductionDb, kBands, traced.blocks.back().gainReductionDb.begin());
}

TrackTrace Track::finish() {
    writer->finish();
    traced.clippedSamples = writer->clippedSamples();
    return std::move(traced);
}

} // namespace render
