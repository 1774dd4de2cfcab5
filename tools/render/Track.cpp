#include "tools/render/Track.h"

#include "tools/common/Failure.h"
#include "tools/common/InstanceSetup.h"

#include <algorithm>
#include <cmath>

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
    : reader(options.input, options.damaged), pluginInstance(library, callbacks) {
    tools::initialise(pluginInstance);
    traced.inputPath = options.input;
    traced.frames = format().frames;
    traced.damage = reader.damage();
}

void Track::prepare(std::uint32_t blockSize) {
    tools::start(pluginInstance, buffers, format().sampleRate, blockSize,
                 host::SampleFormat::Float64);
}

void Track::openOutput(const std::filesystem::path& path, std::uint64_t delayFrames,
                       bool keepDelay) {
    const tools::Cut whole{0, format().frames + delayFrames};
    const tools::Cut aligned{delayFrames, format().frames};
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
        tools::fail("the plug-in failed while processing " + traced.inputPath.string());
    pluginInstance.pumpMainThread();
    writer->write(out.channel64(0).first(frames), out.channel64(1).first(frames));
}

void Track::addReduction(const float (&gainReductionDb)[kBands]) {
    std::copy_n(gainReductionDb, kBands, traced.blocks.back().gainReductionDb.begin());
}

void Track::finish() {
    writer->finish();
    traced.clippedSamples = writer->clippedSamples();
}

} // namespace render
