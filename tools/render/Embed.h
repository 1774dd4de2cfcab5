/// Sounds as text, to stand inside a page.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace render {

[[nodiscard]] std::string base64(std::string_view bytes);

/// `frames` frames of a sound file, from `firstFrame` on, as the bytes of a 16-bit FLAC file; what
/// is beyond full scale is cut off. Throws tools::Failure.
[[nodiscard]] std::string flacOf(const std::filesystem::path& path, std::uint64_t firstFrame,
                                 std::uint64_t frames);

} // namespace render
