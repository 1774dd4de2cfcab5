/// A page to see and hear what renderings did, in one file that needs nothing else.
#pragma once

#include "tools/render/Trace.h"

#include <filesystem>
#include <string>
#include <vector>

namespace render {

struct PageSection {
    std::string title;   ///< empty: the names of the tracks
    std::string text;    ///< a sentence about it; may be empty
    std::string command; ///< that made it
    RenderResult result;
};

/// The words as one types them into a shell.
[[nodiscard]] std::string shellCommand(const std::vector<std::string>& words);

/// Writes HTML with pictures and sounds inside, read from the files of the renderings; a minute of
/// two stereo tracks, before and after, takes about 18 MB. Throws tools::Failure.
void writePage(const std::vector<PageSection>& sections, const std::filesystem::path& path);

} // namespace render
