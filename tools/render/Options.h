/// What the user asked for on the command line.
#pragma once

#include "tools/common/AudioFile.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace render {

inline constexpr std::size_t kMaxTracks = 16; ///< the registry has no more slots
inline constexpr std::uint32_t kMaxBlock = 16384;

struct ParamSetting {
    std::string name;
    std::string text; ///< a plain value, with or without its unit
};

struct TrackOptions {
    std::filesystem::path input;
    std::optional<std::filesystem::path> output;    ///< none: named after the input
    std::optional<std::filesystem::path> loadState; ///< taken before names, switches and settings
    std::optional<std::filesystem::path> saveState; ///< written after rendering
    std::optional<std::string> displayName; ///< in the registry; none: the state's, or the file's
    std::vector<ParamSetting> settings;
    std::optional<bool> duckSelf; ///< none: the state's, or on
    tools::Damaged damaged = tools::Damaged::Refuse;
};

struct Options {
    std::vector<TrackOptions> tracks;
    std::uint32_t blockSize = 256;
    std::optional<std::filesystem::path> outputFolder;
    std::optional<std::filesystem::path> plugin; ///< none: searched for
    std::optional<std::filesystem::path> picture;
    std::optional<std::filesystem::path> page; ///< folder for index.html
    bool pairByStates = false; ///< the instances pair by themselves, as their states say
    std::string pairWith;      ///< display name of an instance elsewhere; empty: none
    double waitSeconds = 30.0;
    bool rawDelay = false;
    bool realtime = false;
    bool privateRegistry = false;
    bool listParams = false;
    bool json = false;
};

/// The name of a track when neither command line nor state has one.
[[nodiscard]] inline std::string fileName(const TrackOptions& track) {
    return track.input.stem().string();
}

/// Reads the command line. Returns nullopt when help or version was wanted, which is printed then;
/// throws tools::Failure (Usage) for anything that does not fit together.
[[nodiscard]] std::optional<Options> parseOptions(int argc, const char* const* argv);

} // namespace render
