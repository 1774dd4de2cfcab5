/// The shapes and texts that the editor is drawn with. [ui, between begin and end of a frame]
#pragma once

#include "ui/Draw.h"
#include "ui/Theme.h"

#include <nanovg.h>

namespace ui {

[[nodiscard]] inline NVGcolor nvg(Colour c) { return nvgRGBA(c.red, c.green, c.blue, c.alpha); }

void fillBox(const DrawTools& tools, const Rect& box, float radius, Colour colour);
/// The line lies inside the box, so that whole units give sharp lines.
void strokeBox(const DrawTools& tools, const Rect& box, float radius, Colour colour,
               float width = 1.0F);
/// Fades from the top's colour to the bottom's.
void fillGradient(const DrawTools& tools, const Rect& box, Colour top, Colour bottom);
void fillDot(const DrawTools& tools, Point centre, float radius, Colour colour);
void strokeRing(const DrawTools& tools, Point centre, float radius, Colour colour, float width);

// Straight lines, moved by less than a pixel to where they are sharp

void drawVertical(const DrawTools& tools, float x, float top, float bottom, Colour colour,
                  float width);
void drawHorizontal(const DrawTools& tools, float y, float left, float right, Colour colour,
                    float width);

/// Where a text's point lies in it. Heights go by capitals and digits, whatever the font: their
/// top, middle or foot.
enum class AlignX { Left, Centre, Right };
enum class AlignY { Top, Middle, Bottom };

struct TextStyle {
    float size; ///< em
    Colour colour;
    AlignX x = AlignX::Left;
    AlignY y = AlignY::Middle;
};

void drawText(const DrawTools& tools, Point at, const TextStyle& style, const char* text,
              const char* end = nullptr);
/// Left-aligned; what does not fit into the width gives way to an ellipsis.
void drawTextCut(const DrawTools& tools, Point at, const TextStyle& style, const char* text,
                 float maxWidth);
/// Centred, its letters narrowed to the width where they are wider.
void drawTextNarrowed(const DrawTools& tools, Point centre, float size, Colour colour,
                      const char* text, float maxWidth);
/// Of the text from its origin to the next character's.
[[nodiscard]] float textWidth(const DrawTools& tools, float size, const char* text);
/// A size for texts that have room to grow: at least this many pixels high in small windows.
[[nodiscard]] float legibleSize(const DrawTools& tools, float size, float atLeastPx = 8.5F);

/// Of the box that drawLabel makes.
[[nodiscard]] float labelWidth(const DrawTools& tools, float size, const char* text);
/// A line of text on a box; the box is moved to lie inside `limits`. Returns where it came to lie.
Rect drawLabel(const DrawTools& tools, Point centre, float size, Colour colour, const char* text,
               const Rect& limits);

/// Draws only inside a box while it lives; what else changes in the meantime (transform, alpha) is
/// undone too.
class Clip {
public:
    Clip(const DrawTools& tools, const Rect& box) : vg(tools.vg) {
        nvgSave(vg);
        nvgIntersectScissor(vg, box.x, box.y, box.width, box.height);
    }
    ~Clip() { nvgRestore(vg); }
    Clip(const Clip&) = delete;
    Clip& operator=(const Clip&) = delete;

private:
    NVGcontext* vg;
};

/// The part of an analyzer inside its outline.
[[nodiscard]] constexpr Rect insideOf(const Rect& panel) {
    return {panel.x + 1.0F, panel.y + 1.0F, panel.width - 2.0F, panel.height - 2.0F};
}

} // namespace ui
