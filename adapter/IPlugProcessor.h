/// The processing side of the framework layer: rate, block size, channels, latency.
#pragma once

#include "adapter/Config.h"

#include <cstdint>
#include <vector>

namespace iplug {

/// One channel configuration: the channel count of every bus, main bus first.
struct IOConfig {
    std::vector<int> inputs;
    std::vector<int> outputs;
};

/// Reads a channel I/O text such as "2-2 2.2-2" (see Config::channelIO). Allocates.
[[nodiscard]] std::vector<IOConfig> ParseChannelIO(const char* text);

/// What is true of the processing of any plug-in, and the hook that does it. Rate, block size and
/// configuration change while the host has processing stopped; the audio thread reads them.
class IPlugProcessor {
public:
    explicit IPlugProcessor(const Config& config);
    IPlugProcessor(const IPlugProcessor&) = delete;
    IPlugProcessor& operator=(const IPlugProcessor&) = delete;
    virtual ~IPlugProcessor() = default;

    /// One block of audio. The arrays hold kMaxChannels valid, finite-or-not sample pointers each:
    /// unconnected inputs read as silence, unconnected outputs may be written. Inputs and outputs
    /// may be the same buffers. [audio]
    virtual void ProcessBlock(const double* const* inputs, double* const* outputs, int nFrames) = 0;

    /// Processing is about to become possible, or no longer is. Runs on activation with the new
    /// sample rate in place, before anything else. [main]
    virtual void OnActivate(bool /*active*/) {}

    /// Runs on activation, after the parameters have been announced. [main]
    virtual void OnReset() = 0;

    /// The host wants the sound forgotten that went in before; parameters stay. [audio]
    virtual void OnClear() {}

    /// Hz; 44100 before the first activation.
    [[nodiscard]] double GetSampleRate() const noexcept { return currentRate; }
    /// The largest block that the host announced, samples.
    [[nodiscard]] std::uint32_t GetBlockSize() const noexcept { return blockSize; }
    /// What the host is told, samples. It is not the real delay, which depends on the rate.
    [[nodiscard]] int GetLatency() const noexcept { return latencySamples; }
    /// Output channels that the host has connected in this block, at most kMaxChannels. [audio]
    [[nodiscard]] int NOutChansConnected() const noexcept { return outputsConnected; }

    static constexpr int kMaxChannels = 2; ///< of the main bus, the only one that is processed

protected:
    void SetSampleRate(double hz) noexcept { currentRate = hz; }
    void SetBlockSize(std::uint32_t frames) noexcept { blockSize = frames; }
    void SetOutChansConnected(int count) noexcept { outputsConnected = count; }
    void SetRenderingOffline(bool offline) noexcept { renderingOffline = offline; }

    [[nodiscard]] const std::vector<IOConfig>& IOConfigs() const noexcept { return ioConfigs; }
    [[nodiscard]] const IOConfig& CurrentIOConfig() const noexcept {
        return ioConfigs[currentIOConfig];
    }
    /// False, and nothing changes, for an index that is not one of IOConfigs(). [main]
    bool SelectIOConfig(std::uint32_t index) noexcept;

private:
    const std::vector<IOConfig> ioConfigs;
    std::size_t currentIOConfig = 0;
    double currentRate = 44100.0;
    std::uint32_t blockSize = 0;
    const int latencySamples;
    int outputsConnected = 0;
    bool renderingOffline = false;
};

} // namespace iplug
