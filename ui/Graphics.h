/// What a view draws with: NanoVG, its font and the logo.
#pragma once

#include "ui/Canvas.h"
#include "ui/Draw.h"

#include <memory>

namespace ui {

/// One per view. Every call needs the view's GL context current: create and destroy belong into
/// the realize and unrealize events, the frame into the expose event. [ui]
class Graphics {
public:
    Graphics();
    ~Graphics();
    Graphics(const Graphics&) = delete;
    Graphics& operator=(const Graphics&) = delete;

    /// Loads all there is. Without GL or a context nothing will be drawn, without a font no text,
    /// without the logo its square alone; none of it is an error to report.
    void create();
    /// Frees it; nothing to do without a context. Must come before the GL context goes.
    void destroy();

    /// Whether frames can be drawn.
    [[nodiscard]] bool ready() const { return drawTools.vg != nullptr && font >= 0; }
    [[nodiscard]] const DrawTools& tools() const { return drawTools; }

    /// Clears the view and lays the canvas into it: from here on, coordinates are canvas units.
    /// Only when ready. Sizes in pixels, above 0.
    CanvasFit beginFrame(int widthPx, int heightPx);
    void endFrame();

private:
    void loadFont();

    DrawTools drawTools;
    std::unique_ptr<DisplayLists> lists;
    int drawnWidthPx = 0, drawnHeightPx = 0; ///< in the last frame
    int font = -1; ///< NanoVG's handle; 0 also stands for "there is no font file"
};

} // namespace ui
