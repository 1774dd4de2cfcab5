/// What the programs do with an instance before and after it plays. All throw Failure. [main]
#pragma once

#include "host/Instance.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>

namespace tools {

/// Initialises what was just created.
void initialise(host::Instance& instance);

/// Activates for blocks up to maxFrames and starts processing. The buffers are made anew for the
/// ports, of which the first pair must be stereo.
void start(host::Instance& instance, std::optional<host::AudioBuffers>& buffers, int sampleRate,
           std::uint32_t maxFrames, host::SampleFormat format);

/// Saved states from and to files; `trackNumber` is for the messages.
void loadStateFile(const host::Instance& instance, const std::filesystem::path& path,
                   std::size_t trackNumber);
void saveStateFile(const host::Instance& instance, const std::filesystem::path& path,
                   std::size_t trackNumber);

} // namespace tools
