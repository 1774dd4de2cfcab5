#include "tools/editor/Track.h"

#include "host/Extensions.h"
#include "tools/render/Failure.h"

#include <string>
#include <utility>

namespace editor {

Track::Track(const host::Library& library, AudioFeed feed)
    : loop(std::move(feed)), pluginInstance(library, callbacks) {
    if (!pluginInstance.init())
        render::fail("the plug-in refused to initialise");
}

void Track::start() {
    const auto inputs = host::portSpecs(pluginInstance, true, host::SampleFormat::Float32);
    const auto outputs = host::portSpecs(pluginInstance, false, host::SampleFormat::Float32);
    if (inputs.empty() || outputs.empty() || inputs[0].channels != 2 || outputs[0].channels != 2)
        render::fail("the plug-in has no stereo input and output");
    buffers.emplace(inputs, outputs, kMaxBlock);
    if (!pluginInstance.activate(loop.sampleRate(), 1, kMaxBlock) ||
        !pluginInstance.startProcessing())
        render::fail("the plug-in refused to process at " + std::to_string(loop.sampleRate()) +
                     " Hz");
}

void Track::process(std::uint32_t frames) {
    host::PortBuffer& in = buffers->input();
    loop.read(in.channel32(0).first(frames), in.channel32(1).first(frames));
    if (pluginInstance.process(*buffers, frames) == CLAP_PROCESS_ERROR)
        buffers->output().fill(0.0);
}

std::span<const float> Track::output(std::uint32_t channel) {
    return buffers->output().channel32(channel);
}

} // namespace editor
