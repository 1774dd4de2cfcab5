#include "tools/editor/Track.h"

#include "tools/common/InstanceSetup.h"

#include <utility>

namespace editor {

Track::Track(const host::Library& library, AudioFeed feed)
    : loop(std::move(feed)), pluginInstance(library, callbacks) {
    tools::initialise(pluginInstance);
}

void Track::start() {
    tools::start(pluginInstance, buffers, loop.sampleRate(), kMaxBlock,
                 host::SampleFormat::Float32);
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
