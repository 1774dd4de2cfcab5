/// The font files that texts are drawn with.
#pragma once

#include <string>

namespace ui {

/// Path of the system's regular proportional sans-serif font; empty when there is none. [any]
[[nodiscard]] std::string findSystemFont();

/// Path of a font that has the editor's signs (dash, bullet, ellipsis, triangles), to stand in
/// where the system's font lacks one; empty when that has them all or no font does. [any]
[[nodiscard]] std::string findSignFont();

/// Per unit of em size.
struct FontMetrics {
    float lineHeight = 1.0F; ///< ascent plus descent, by which NanoVG sizes text
    float capHeight = 0.73F; ///< of capitals
};
/// The defaults when the file cannot be read. [any]
[[nodiscard]] FontMetrics metricsOf(const std::string& file);

} // namespace ui
