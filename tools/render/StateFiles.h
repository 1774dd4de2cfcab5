/// Saved states of instances, from and to files.
#pragma once

#include "host/Instance.h"

#include <cstddef>
#include <filesystem>

namespace render {

/// Both throw Failure when the file or the plug-in does not take part. `trackNumber` is for the
/// messages. [main]
void loadStateFile(const host::Instance& instance, const std::filesystem::path& path,
                   std::size_t trackNumber);
void saveStateFile(const host::Instance& instance, const std::filesystem::path& path,
                   std::size_t trackNumber);

} // namespace render
