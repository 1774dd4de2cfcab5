#include "ui/Brush.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ui {
namespace {

void boxPath(const DrawTools& tools, const Rect& box, float radius) {
    nvgBeginPath(tools.vg);
    if (radius > 0.0F)
        nvgRoundedRect(tools.vg, box.x, box.y, box.width, box.height, radius);
    else
        nvgRect(tools.vg, box.x, box.y, box.width, box.height);
}

void fill(const DrawTools& tools, Colour colour) {
    nvgFillColor(tools.vg, nvg(colour));
    nvgFill(tools.vg);
}

void stroke(const DrawTools& tools, Colour colour, float width) {
    nvgStrokeColor(tools.vg, nvg(colour));
    nvgStrokeWidth(tools.vg, width);
    nvgStroke(tools.vg);
}

/// Centre of the nearest line of this width whose sides lie between pixels.
float sharp(const DrawTools& tools, float at, float width) {
    const float px = at * tools.zoom;
    const bool odd = std::lround(std::max(1.0F, width * tools.zoom)) % 2 != 0;
    return (odd ? std::floor(px) + 0.5F : std::round(px)) / tools.zoom;
}

void drawLine(const DrawTools& tools, Point from, Point to, Colour colour, float width) {
    nvgBeginPath(tools.vg);
    nvgMoveTo(tools.vg, from.x, from.y);
    nvgLineTo(tools.vg, to.x, to.y);
    stroke(tools, colour, width);
}

void setFont(const DrawTools& tools, float size, int align) {
    nvgFontFace(tools.vg, kFontName);
    nvgFontSize(tools.vg, size * tools.lineHeight);
    nvgTextAlign(tools.vg, align);
}

int alignOf(AlignX x) {
    if (x == AlignX::Left)
        return NVG_ALIGN_LEFT;
    return x == AlignX::Centre ? NVG_ALIGN_CENTER : NVG_ALIGN_RIGHT;
}

/// How far below its point a text's baseline lies.
float baselineDrop(const DrawTools& tools, const TextStyle& style) {
    if (style.y == AlignY::Bottom)
        return 0.0F;
    return style.size * tools.capHeight * (style.y == AlignY::Middle ? 0.5F : 1.0F);
}

} // namespace

void fillBox(const DrawTools& tools, const Rect& box, float radius, Colour colour) {
    boxPath(tools, box, radius);
    fill(tools, colour);
}

void strokeBox(const DrawTools& tools, const Rect& box, float radius, Colour colour, float width) {
    const float inset = 0.5F * width;
    boxPath(tools, {box.x + inset, box.y + inset, box.width - width, box.height - width},
            std::max(0.0F, radius - inset));
    stroke(tools, colour, width);
}

void fillGradient(const DrawTools& tools, const Rect& box, Colour top, Colour bottom) {
    boxPath(tools, box, 0.0F);
    nvgFillPaint(tools.vg, nvgLinearGradient(tools.vg, 0.0F, box.y, 0.0F, box.bottom(), nvg(top),
                                             nvg(bottom)));
    nvgFill(tools.vg);
}

void fillDot(const DrawTools& tools, Point centre, float radius, Colour colour) {
    nvgBeginPath(tools.vg);
    nvgCircle(tools.vg, centre.x, centre.y, radius);
    fill(tools, colour);
}

void strokeRing(const DrawTools& tools, Point centre, float radius, Colour colour, float width) {
    nvgBeginPath(tools.vg);
    nvgCircle(tools.vg, centre.x, centre.y, radius);
    stroke(tools, colour, width);
}

void drawVertical(const DrawTools& tools, float x, float top, float bottom, Colour colour,
                  float width) {
    const float at = sharp(tools, x, width);
    drawLine(tools, {at, top}, {at, bottom}, colour, width);
}

void drawHorizontal(const DrawTools& tools, float y, float left, float right, Colour colour,
                    float width) {
    const float at = sharp(tools, y, width);
    drawLine(tools, {left, at}, {right, at}, colour, width);
}

void drawText(const DrawTools& tools, Point at, const TextStyle& style, const char* text,
              const char* end) {
    setFont(tools, style.size, alignOf(style.x) | NVG_ALIGN_BASELINE);
    nvgFillColor(tools.vg, nvg(style.colour));
    nvgText(tools.vg, at.x, at.y + baselineDrop(tools, style), text, end);
}

float textWidth(const DrawTools& tools, float size, const char* text) {
    setFont(tools, size, NVG_ALIGN_LEFT | NVG_ALIGN_BASELINE);
    return nvgTextBounds(tools.vg, 0.0F, 0.0F, text, nullptr, nullptr);
}

void drawTextCut(const DrawTools& tools, Point at, const TextStyle& style, const char* text,
                 float maxWidth) {
    if (textWidth(tools, style.size, text) <= maxWidth) {
        drawText(tools, at, style, text);
        return;
    }
    constexpr const char* kEllipsis = "…";
    const float room = maxWidth - textWidth(tools, style.size, kEllipsis);
    std::array<NVGglyphPosition, shm::kNameBytes> glyphs;
    const int count = nvgTextGlyphPositions(tools.vg, 0.0F, 0.0F, text, nullptr, glyphs.data(),
                                            static_cast<int>(glyphs.size()));
    const auto* const cut = std::find_if(glyphs.data(), glyphs.data() + count,
                                         [room](const auto& glyph) { return glyph.maxx > room; });
    if (cut == glyphs.data() + count)
        return;
    drawText(tools, at, style, text, cut->str);
    drawText(tools, {at.x + cut->x, at.y}, style, kEllipsis);
}

void drawTextNarrowed(const DrawTools& tools, Point centre, float size, Colour colour,
                      const char* text, float maxWidth) {
    const float width = textWidth(tools, size, text);
    nvgSave(tools.vg);
    nvgTranslate(tools.vg, centre.x, centre.y);
    if (width > maxWidth)
        nvgScale(tools.vg, maxWidth / width, 1.0F);
    drawText(tools, {}, {size, colour, AlignX::Centre}, text);
    nvgRestore(tools.vg);
}

float legibleSize(const DrawTools& tools, float size, float atLeastPx) {
    return std::max(size, atLeastPx / tools.zoom);
}

float labelWidth(const DrawTools& tools, float size, const char* text) {
    return textWidth(tools, size, text) + 0.8F * size;
}

Rect drawLabel(const DrawTools& tools, Point centre, float size, Colour colour, const char* text,
               const Rect& limits) {
    const float width = labelWidth(tools, size, text);
    const float height = 1.4F * size;
    const Rect box = {std::clamp(centre.x - 0.5F * width, limits.x, limits.right() - width),
                      std::clamp(centre.y - 0.5F * height, limits.y, limits.bottom() - height),
                      width, height};
    fillBox(tools, box, 3.0F, theme::kLabelBox);
    drawText(tools, box.centre(), {size, colour, AlignX::Centre}, text);
    return box;
}

} // namespace ui
