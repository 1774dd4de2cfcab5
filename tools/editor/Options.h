/// What the user asked for on the command line.
#pragma once

#include "tools/common/AudioFile.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

namespace editor {

inline constexpr std::size_t kMaxTracks = 2;

struct TrackOptions {
    std::optional<std::filesystem::path> file; ///< none: a demo signal
    std::optional<std::filesystem::path> loadState;
    std::optional<std::filesystem::path> saveState; ///< written at the end
};

struct Options {
    std::vector<TrackOptions> tracks;            ///< one or two
    std::optional<std::filesystem::path> plugin; ///< none: searched for
    std::optional<double> scale;
    std::optional<double> seconds; ///< none: until the last window is closed
    tools::Damaged damaged = tools::Damaged::Refuse;
    bool pair = false;
    bool sound = true;
    bool privateRegistry = false;
};

/// Reads the command line. Returns nullopt when help or version was wanted, which is printed then;
/// throws tools::Failure (Usage) for anything that does not fit together.
[[nodiscard]] std::optional<Options> parseOptions(int argc, const char* const* argv);

} // namespace editor
