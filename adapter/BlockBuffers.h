/// A host's audio buffers seen as 64-bit channels.
#pragma once

#include "adapter/ClapRecords.h"
#include "adapter/IPlugProcessor.h"

#include <array>
#include <cstdint>
#include <vector>

namespace iplug {

/// From the host's 32-bit samples to the 64 bits of channels and back, `n` of them, no overlap; an
/// instance that has faster ones for its processor hands them in. [audio]
struct SampleConversions {
    void (*widen)(const float* from, double* to, int n);
    void (*narrow)(const double* from, float* to, int n);
};
extern const SampleConversions kPlainConversions;

/// Presents the main ports of a process call, whatever their sample format and however much of
/// them the host has connected, as the channel pointers that ProcessBlock wants. 64-bit channels
/// are used where they lie; 32-bit ones go through scratch memory.
class BlockBuffers {
public:
    static constexpr int kChannels = IPlugProcessor::kMaxChannels;
    /// Scratch for slices of up to kBriefFrames, on the stack of process: it is in the cache,
    /// whichever instance the block before was for. Deliberately not cleared.
    static constexpr std::uint32_t kBriefFrames = 256;
    using BriefScratch = std::array<double, std::size_t{2} * kChannels * kBriefFrames>;

    explicit BlockBuffers(const SampleConversions& wanted) : conversions(wanted) {}

    /// Makes room for slices of up to maxFrames. Allocates. [main, while not processing]
    void Prepare(std::uint32_t maxFrames);
    /// The longest slice that Attach takes, frames; longer blocks are processed in several.
    [[nodiscard]] std::uint32_t Capacity() const noexcept { return capacity; }

    /// Points the channels at frames [offset, offset + frames) of the block, until Deliver. `brief`
    /// must live as long. [audio]
    void Attach(const clap_process_t& block, std::uint32_t offset, std::uint32_t frames,
                BriefScratch& brief) noexcept;
    /// Hands what was written to the channels back to the host. [audio]
    void Deliver() noexcept;

    [[nodiscard]] const double* const* Inputs() const noexcept { return inputs.data(); }
    [[nodiscard]] double* const* Outputs() const noexcept { return outputs.data(); }
    /// One more than the highest output channel that the host has connected.
    [[nodiscard]] int NOutputsConnected() const noexcept { return outputsConnected; }

private:
    void AttachInput(int channel, const clap_audio_buffer_t* port, std::uint32_t offset) noexcept;
    void AttachOutput(int channel, const clap_audio_buffer_t* port, std::uint32_t offset) noexcept;
    [[nodiscard]] double* Scratch(int line) noexcept { return lines + line * lineLength; }

    const SampleConversions conversions;
    std::uint32_t capacity = 0;
    std::uint32_t frames = 0;
    int outputsConnected = 0;
    std::array<const double*, kChannels> inputs{};
    std::array<double*, kChannels> outputs{};
    std::array<float*, kChannels> floatOutputs{}; ///< where Deliver converts to, or null
    // A line of scratch per input and per output channel
    double* lines = nullptr; ///< in brief scratch or in the following
    std::ptrdiff_t lineLength = 0;
    std::vector<double> scratch;
};

} // namespace iplug
