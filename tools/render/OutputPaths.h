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

/// One output path a track: as given by --out, else NAME-ducked.EXT in the output folder, which
/// is created when missing, or beside the input. Throws tools::Failure (Usage) when an output, a
/// saved state, the picture or the page is one of the inputs or loaded states under any name
/// (symbolic or hard link), or two of them are the same file. An older output is overwritten.
[[nodiscard]] std::vector<std::filesystem::path> resolveOutputs(const Options& options);

} // namespace render
