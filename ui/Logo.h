/// The picture on the logo's square.
#pragma once

struct NVGcontext;

namespace ui {

/// Makes it an image of the context; -1 when it cannot be. [ui, with the GL context current]
[[nodiscard]] int loadLogo(NVGcontext* vg);

} // namespace ui
