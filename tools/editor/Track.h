/// One plug-in instance and the loop that plays through it.
#pragma once

#include "host/AudioBuffers.h"
#include "host/Instance.h"
#include "tools/editor/AudioFeed.h"

#include <cstdint>
#include <optional>
#include <span>

namespace editor {

/// In order: construct, start, process... An audio thread must have ended before the track does.
/// [main]
class Track {
public:
    static constexpr std::uint32_t kMaxBlock = 1024;

    /// Creates and initialises the instance. Throws tools::Failure or host::HostError.
    Track(const host::Library& library, AudioFeed feed);

    [[nodiscard]] host::Instance& instance() { return pluginInstance; }
    [[nodiscard]] const AudioFeed& feed() const { return loop; }

    /// Activates at the feed's rate and starts processing. Throws tools::Failure.
    void start();
    /// The next `frames` samples, at most kMaxBlock, through the plug-in. Its output events are
    /// dropped. [audio]
    void process(std::uint32_t frames);
    /// What process() made, kMaxBlock samples. `channel` is 0 or 1. [audio]
    [[nodiscard]] std::span<const float> output(std::uint32_t channel);

private:
    host::HostCallbacks callbacks;
    AudioFeed loop;
    host::Instance pluginInstance;
    std::optional<host::AudioBuffers> buffers;
};

} // namespace editor
