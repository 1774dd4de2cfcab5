/// Whether a sound file holds what it says.
#pragma once

#include <cstdint>
#include <filesystem>
#include <sndfile.h>
#include <string>

namespace tools {

struct SoundCheck {
    std::uint64_t frames = 0; ///< as the file says; where it does not say, as many as there are
    std::string damage;       ///< what is missing, for people; empty: nothing
};

/// Decodes the file to its end. `told` is what libsndfile said when it was opened. A WAV that is
/// shorter than its header says, and an Ogg stream without its end, are damaged, too: libsndfile
/// takes such files for shorter ones. [main]
[[nodiscard]] SoundCheck checkSound(const std::filesystem::path& path, const SF_INFO& told);

} // namespace tools
