/// Where the plug-in file is.
#pragma once

#include <filesystem>
#include <optional>

namespace render {

/// The given path, else the first of: beside this program, ../lib/clap from there, ~/.clap,
/// /usr/lib/clap. Throws Failure when there is none.
[[nodiscard]] std::filesystem::path findPlugin(const std::optional<std::filesystem::path>& given);

} // namespace render
