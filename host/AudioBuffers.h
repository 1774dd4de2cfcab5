/// Sample memory for the ports of one process call.
#pragma once

#include <clap/audio-buffer.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace host {

enum class SampleFormat { Float32, Float64 };

struct PortSpec {
    std::uint32_t channels = 2;
    SampleFormat format = SampleFormat::Float64;
};

/// One port: `channels` × `maxFrames` samples, 32 or 64 bit, zero at first.
class PortBuffer {
public:
    PortBuffer(PortSpec spec, std::uint32_t maxFrames);

    /// All maxFrames samples of a channel. The format must be the port's.
    [[nodiscard]] std::span<float> channel32(std::uint32_t channel);
    [[nodiscard]] std::span<double> channel64(std::uint32_t channel);

    /// One sample, in either format.
    void set(std::uint32_t channel, std::uint32_t frame, double value);
    [[nodiscard]] double get(std::uint32_t channel, std::uint32_t frame) const;
    void fill(double value);

    /// Lets this port use the memory of another with the same spec, which must outlive it.
    void shareMemoryOf(PortBuffer& other);

    /// The CLAP record with pointers into this port; valid as long as the port is.
    [[nodiscard]] clap_audio_buffer_t record();

private:
    PortSpec portSpec;
    std::uint32_t length; ///< samples a channel
    std::vector<float> samples32;
    std::vector<double> samples64;
    std::vector<float*> channels32;
    std::vector<double*> channels64;
};

/// All ports of an instance, mixed formats allowed, also none at all.
class AudioBuffers {
public:
    AudioBuffers(const std::vector<PortSpec>& inputSpecs, const std::vector<PortSpec>& outputSpecs,
                 std::uint32_t maxFrames);
    /// One stereo port each way, the common case.
    explicit AudioBuffers(std::uint32_t maxFrames, SampleFormat format = SampleFormat::Float64);
    AudioBuffers(const AudioBuffers&) = delete;
    AudioBuffers& operator=(const AudioBuffers&) = delete;

    [[nodiscard]] PortBuffer& input(std::uint32_t port = 0) { return inputs.at(port); }
    [[nodiscard]] PortBuffer& output(std::uint32_t port = 0) { return outputs.at(port); }
    /// Processing in place: the output port gets the input port's memory. Specs must agree.
    void makeInPlace(std::uint32_t inputPort = 0, std::uint32_t outputPort = 0);

    /// The CLAP records, one a port; a test may break them on purpose before a call (counts,
    /// pointers, masks).
    [[nodiscard]] std::vector<clap_audio_buffer_t>& inputRecords() { return recordsIn; }
    [[nodiscard]] std::vector<clap_audio_buffer_t>& outputRecords() { return recordsOut; }

private:
    void makeRecords();

    std::vector<PortBuffer> inputs;
    std::vector<PortBuffer> outputs;
    std::vector<clap_audio_buffer_t> recordsIn;
    std::vector<clap_audio_buffer_t> recordsOut;
};

} // namespace host
