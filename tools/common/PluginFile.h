/// Where the plug-in lies, and in which registry its instances meet.
#pragma once

#include <filesystem>
#include <optional>

namespace tools {

/// The given plug-in file, else the first of: beside this program, ../lib/clap from there, ~/.clap,
/// /usr/lib/clap. Throws Failure when there is none.
[[nodiscard]] std::filesystem::path findPlugin(const std::optional<std::filesystem::path>& given);

/// Finds the plug-in file, then, if wanted, enters a registry of one's own. In this order: in a
/// namespace of one's own a chroot's programs no longer know where they lie. Throws Failure.
[[nodiscard]] std::filesystem::path
settleIn(const std::optional<std::filesystem::path>& givenPlugin, bool privateRegistry);

} // namespace tools
