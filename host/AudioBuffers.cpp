#include "host/AudioBuffers.h"

#include <algorithm>
#include <cassert>

namespace host {
namespace {

template <typename Sample>
std::vector<Sample*> channelPointers(std::vector<Sample>& samples, std::uint32_t maxFrames) {
    std::vector<Sample*> channels;
    for (std::size_t start = 0; start < samples.size(); start += maxFrames)
        channels.push_back(samples.data() + start);
    return channels;
}

std::vector<PortBuffer> makePorts(const std::vector<PortSpec>& specs, std::uint32_t maxFrames) {
    std::vector<PortBuffer> ports;
    ports.reserve(specs.size());
    for (const PortSpec& spec : specs)
        ports.emplace_back(spec, maxFrames);
    return ports;
}

std::vector<clap_audio_buffer_t> recordsOf(std::vector<PortBuffer>& ports) {
    std::vector<clap_audio_buffer_t> records;
    records.reserve(ports.size());
    for (PortBuffer& port : ports)
        records.push_back(port.record());
    return records;
}

} // namespace

PortBuffer::PortBuffer(PortSpec spec, std::uint32_t maxFrames)
    : mSpec(spec), mMaxFrames(maxFrames) {
    const std::size_t samples = std::size_t{spec.channels} * maxFrames;
    if (spec.format == SampleFormat::Float32)
        mSamples32.resize(samples);
    else
        mSamples64.resize(samples);
    mChannels32 = channelPointers(mSamples32, maxFrames);
    mChannels64 = channelPointers(mSamples64, maxFrames);
}

std::span<float> PortBuffer::channel32(std::uint32_t channel) {
    return {mChannels32.at(channel), mMaxFrames};
}

std::span<double> PortBuffer::channel64(std::uint32_t channel) {
    return {mChannels64.at(channel), mMaxFrames};
}

void PortBuffer::set(std::uint32_t channel, std::uint32_t frame, double value) {
    assert(frame < mMaxFrames);
    if (mSpec.format == SampleFormat::Float32)
        mChannels32.at(channel)[frame] = static_cast<float>(value);
    else
        mChannels64.at(channel)[frame] = value;
}

double PortBuffer::get(std::uint32_t channel, std::uint32_t frame) const {
    assert(frame < mMaxFrames);
    if (mSpec.format == SampleFormat::Float32)
        return static_cast<double>(mChannels32.at(channel)[frame]);
    return mChannels64.at(channel)[frame];
}

void PortBuffer::fill(double value) {
    for (float* channel : mChannels32)
        std::fill_n(channel, mMaxFrames, static_cast<float>(value));
    for (double* channel : mChannels64)
        std::fill_n(channel, mMaxFrames, value);
}

void PortBuffer::shareMemoryOf(PortBuffer& other) {
    assert(other.mSpec.channels == mSpec.channels && other.mSpec.format == mSpec.format);
    assert(other.mMaxFrames == mMaxFrames);
    mChannels32 = other.mChannels32;
    mChannels64 = other.mChannels64;
}

clap_audio_buffer_t PortBuffer::record() {
    clap_audio_buffer_t record{};
    record.channel_count = mSpec.channels;
    if (mSpec.format == SampleFormat::Float32)
        record.data32 = mChannels32.data();
    else
        record.data64 = mChannels64.data();
    return record;
}

AudioBuffers::AudioBuffers(const std::vector<PortSpec>& inputs,
                           const std::vector<PortSpec>& outputs, std::uint32_t maxFrames)
    : mInputs(makePorts(inputs, maxFrames)), mOutputs(makePorts(outputs, maxFrames)) {
    restoreRecords();
}

AudioBuffers::AudioBuffers(std::uint32_t maxFrames, SampleFormat format)
    : AudioBuffers({{2, format}}, {{2, format}}, maxFrames) {}

void AudioBuffers::makeInPlace(std::uint32_t inputPort, std::uint32_t outputPort) {
    output(outputPort).shareMemoryOf(input(inputPort));
    restoreRecords();
}

void AudioBuffers::restoreRecords() {
    mInputRecords = recordsOf(mInputs);
    mOutputRecords = recordsOf(mOutputs);
}

} // namespace host
