#include "adapter/BlockBuffers.h"

#include <algorithm>

namespace iplug {
namespace {

/// A host may announce any maximum; longer blocks than this are worth no more scratch memory.
constexpr std::uint32_t kMaxFrames = 65536;

const clap_audio_buffer_t* mainPort(const clap_audio_buffer_t* ports, std::uint32_t count) {
    return count > 0 ? ports : nullptr;
}

template <class Sample>
Sample* channelOf(const clap_audio_buffer_t* port, Sample* const* data, int channel,
                  std::uint32_t offset) {
    if (data == nullptr || static_cast<std::uint32_t>(channel) >= port->channel_count ||
        data[channel] == nullptr)
        return nullptr;
    return data[channel] + offset;
}

} // namespace

const SampleConversions kPlainConversions = {
    [](const float* from, double* to, int n) { std::copy_n(from, n, to); },
    [](const double* from, float* to, int n) {
        std::transform(from, from + n, to, [](double x) { return static_cast<float>(x); });
    }};

void BlockBuffers::Prepare(std::uint32_t maxFrames) {
    capacity = std::clamp<std::uint32_t>(maxFrames, 1, kMaxFrames);
    scratch.assign(std::size_t{2} * kChannels * capacity, 0.0);
}

void BlockBuffers::Attach(const clap_process_t& block, std::uint32_t offset,
                          std::uint32_t frameCount, BriefScratch& brief) noexcept {
    const bool isBrief = frameCount <= kBriefFrames;
    lines = isBrief ? brief.data() : scratch.data();
    lineLength = isBrief ? kBriefFrames : capacity;
    frames = frameCount;
    outputsConnected = 0;
    const auto* const in = mainPort(block.audio_inputs, block.audio_inputs_count);
    const auto* const out = mainPort(block.audio_outputs, block.audio_outputs_count);
    for (int channel = 0; channel < kChannels; ++channel) {
        AttachInput(channel, in, offset);
        AttachOutput(channel, out, offset);
    }
}

void BlockBuffers::AttachInput(int channel, const clap_audio_buffer_t* port,
                               std::uint32_t offset) noexcept {
    const double* const samples = port ? channelOf(port, port->data64, channel, offset) : nullptr;
    const float* const floats = port ? channelOf(port, port->data32, channel, offset) : nullptr;
    double* const line = Scratch(channel);
    inputs[std::size_t(channel)] = samples != nullptr ? samples : line;
    if (samples == nullptr && floats != nullptr)
        conversions.widen(floats, line, static_cast<int>(frames));
    else if (samples == nullptr)
        std::fill_n(line, frames, 0.0);
}

void BlockBuffers::AttachOutput(int channel, const clap_audio_buffer_t* port,
                                std::uint32_t offset) noexcept {
    double* const samples = port ? channelOf(port, port->data64, channel, offset) : nullptr;
    float* const floats = port ? channelOf(port, port->data32, channel, offset) : nullptr;
    if (samples != nullptr || floats != nullptr)
        outputsConnected = channel + 1;
    outputs[std::size_t(channel)] = samples != nullptr ? samples : Scratch(kChannels + channel);
    floatOutputs[std::size_t(channel)] = samples != nullptr ? nullptr : floats;
}

void BlockBuffers::Deliver() noexcept {
    for (std::size_t channel = 0; channel < kChannels; ++channel)
        if (floatOutputs[channel] != nullptr)
            conversions.narrow(outputs[channel], floatOutputs[channel], static_cast<int>(frames));
}

} // namespace iplug
