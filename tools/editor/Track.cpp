#include "tools/editor/Track.h"

#include "host/Extensions.h"
#include "tools/render/Failure.h"

#include <string>
#include <utility>

namespace editor {

Track::Track(const host::Library& library, AudioFeed feed)
    : mFeed(std::move(feed)), mInstance(library, mCallbacks) {
    if (!mInstance.init())
        render::fail("the plug-in refused to initialise");
}

void Track::start() {
    const auto inputs = host::portSpecs(mInstance, true, host::SampleFormat::Float32);
    const auto outputs = host::portSpecs(mInstance, false, host::SampleFormat::Float32);
    if (inputs.empty() || outputs.empty() || inputs[0].channels != 2 || outputs[0].channels != 2)
        render::fail("the plug-in has no stereo input and output");
    mBuffers.emplace(inputs, outputs, kMaxBlock);
    if (!mInstance.activate(mFeed.sampleRate(), 1, kMaxBlock) || !mInstance.startProcessing())
        render::fail("the plug-in refused to process at " + std::to_string(mFeed.sampleRate()) +
                     " Hz");
}

void Track::process(std::uint32_t frames) {
    host::PortBuffer& in = mBuffers->input();
    mFeed.read(in.channel32(0).first(frames), in.channel32(1).first(frames));
    if (mInstance.process(*mBuffers, frames) == CLAP_PROCESS_ERROR)
        mBuffers->output().fill(0.0);
}

std::span<const float> Track::output(std::uint32_t channel) {
    return mBuffers->output().channel32(channel);
}

} // namespace editor
