/// Where results go, and that they never land on a source.
#pragma once

#include "tools/render/Options.h"

#include <filesystem>
#include <vector>

namespace render {

/// The page of --page.
[[nodiscard]] inline std::filesystem::path pageFile(const std::filesystem::path& folder) {
    return folder / "index.html";
}

/// One output path a track: as given by --out, else NAME-ducked.EXT (of an MP3, .wav) in the output
/// folder, which may be missing as that of the page may, or beside the input. Throws tools::Failure
/// for another folder that is missing, and (Usage) when an output, a saved state, the picture or
/// the page is one of the inputs or loaded states under any name (symbolic or hard link), or two of
/// them are the same file. An older output is overwritten.
[[nodiscard]] std::vector<std::filesystem::path> resolveOutputs(const Options& options);

/// With the folders above it; nothing when it is there. Throws tools::Failure.
void createFolder(const std::filesystem::path& folder);

} // namespace render
