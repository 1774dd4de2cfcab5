/// Where results go, and that they never land on a source.
#pragma once

#include "tools/render/Options.h"

#include <filesystem>
#include <vector>

namespace render {

/// One output path a track: as given by --out, else NAME-ducked.EXT (of an MP3, .wav) in the output
/// folder, which may be missing, or beside the input. Throws tools::Failure for another folder that
/// is missing. Throws tools::Failure (Usage) when an output, a
/// saved state or the picture is one of the inputs or loaded states under any name (symbolic or
/// hard link), or two of them are the same file. An older output is overwritten.
[[nodiscard]] std::vector<std::filesystem::path> resolveOutputs(const Options& options);

/// With the folders above it; nothing when it is there. Throws tools::Failure.
void createFolder(const std::filesystem::path& folder);

} // namespace render
