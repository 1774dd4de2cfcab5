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

PortBuffer::PortBuffer(PortSpec spec, std::uint32_t maxFrames) : portSpec(spec), length(maxFrames) {
    const std::size_t samples = std::size_t{spec.channels} * maxFrames;
    if (spec.format == SampleFormat::Float32)
        samples32.resize(samples);
    else
        samples64.resize(samples);
    channels32 = channelPointers(samples32, maxFrames);
    channels64 = channelPointers(samples64, maxFrames);
}

std::span<float> PortBuffer::channel32(std::uint32_t channel) {
    return {channels32.at(channel), length};
}

std::span<double> PortBuffer::channel64(std::uint32_t channel) {
    return {channels64.at(channel), length};
}

void PortBuffer::set(std::uint32_t channel, std::uint32_t frame, double value) {
    assert(frame < length);
    if (portSpec.format == SampleFormat::Float32)
        channels32.at(channel)[frame] = static_cast<float>(value);
    else
        channels64.at(channel)[frame] = value;
}

double PortBuffer::get(std::uint32_t channel, std::uint32_t frame) const {
    assert(frame < length);
    if (portSpec.format == SampleFormat::Float32)
        return static_cast<double>(channels32.at(channel)[frame]);
    return channels64.at(channel)[frame];
}

void PortBuffer::fill(double value) {
    for (float* channel : channels32)
        std::fill_n(channel, length, static_cast<float>(value));
    for (double* channel : channels64)
        std::fill_n(channel, length, value);
}

void PortBuffer::shareMemoryOf(PortBuffer& other) {
    assert(other.portSpec.channels == portSpec.channels &&
           other.portSpec.format == portSpec.format);
    assert(other.length == length);
    channels32 = other.channels32;
    channels64 = other.channels64;
}

clap_audio_buffer_t PortBuffer::record() {
    clap_audio_buffer_t record{};
    record.channel_count = portSpec.channels;
    if (portSpec.format == SampleFormat::Float32)
        record.data32 = channels32.data();
    else
        record.data64 = channels64.data();
    return record;
}

AudioBuffers::AudioBuffers(const std::vector<PortSpec>& inputSpecs,
                           const std::vector<PortSpec>& outputSpecs, std::uint32_t maxFrames)
    : inputs(makePorts(inputSpecs, maxFrames)), outputs(makePorts(outputSpecs, maxFrames)) {
    makeRecords();
}

AudioBuffers::AudioBuffers(std::uint32_t maxFrames, SampleFormat format)
    : AudioBuffers({{2, format}}, {{2, format}}, maxFrames) {}

void AudioBuffers::makeInPlace(std::uint32_t inputPort, std::uint32_t outputPort) {
    output(outputPort).shareMemoryOf(input(inputPort));
    makeRecords();
}

void AudioBuffers::makeRecords() {
    recordsIn = recordsOf(inputs);
    recordsOut = recordsOf(outputs);
}

} // namespace host
