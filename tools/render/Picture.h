/// What a rendering did, to see at a glance.
#pragma once

#include "tools/render/Painter.h"
#include "tools/render/Trace.h"

#include <filesystem>

namespace render {

/// For each track its mean spectrum before and after, and its gain reduction over
/// time, band by band, above the level of its partner. Spectra are taken from the files: of a track
/// that ducks, where its gain reduction is at least half of the most it reaches; else of all of it.
/// Throws tools::Failure.
[[nodiscard]] Painter paintPicture(const RenderResult& result);

/// The same as a PNG. Throws tools::Failure.
void drawPicture(const RenderResult& result, const std::filesystem::path& path);

} // namespace render
