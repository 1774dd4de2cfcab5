#include "ui/Brush.h"

#include <algorithm>
#include <array>
#include <span>

namespace ui {
namespace {

using Rows = std::array<NVGtextRow, 8>;

constexpr float kWidest = 300.0F; ///< of the text, at the size of 11
constexpr float kCursorPx = 20.0F;
constexpr float kMargin = 4.0F; ///< to the canvas's edges

/// Lines of about equal length, no longer than maxWidth.
std::span<const NVGtextRow> breakText(const DrawTools& tools, float size, const char* text,
                                      float maxWidth, Rows& rows) {
    const float whole = textWidth(tools, size, text);
    const auto breakAt = [&](float width) {
        return nvgTextBreakLines(tools.vg, text, nullptr, width, rows.data(),
                                 static_cast<int>(rows.size()));
    };
    const auto lines = static_cast<int>(whole / maxWidth) + 1;
    int count = breakAt(std::min(maxWidth, 1.1F * whole / static_cast<float>(lines)));
    if (count > lines)
        count = breakAt(maxWidth);
    return std::span(rows).first(static_cast<std::size_t>(count));
}

/// Below the pointer, or above it where there is no room: never under it.
Rect placeBeside(Point pointer, float width, float height, float cursor) {
    const float below = pointer.y + cursor;
    const float y =
        below + height <= kCanvas.bottom() - kMargin ? below : pointer.y - 0.4F * cursor - height;
    const float x =
        std::clamp(pointer.x + 0.4F * cursor, kMargin, kCanvas.right() - kMargin - width);
    return {x, std::max(y, kMargin), width, height};
}

} // namespace

void drawTooltip(const DrawTools& tools, const Hit& hit, Point pointer) {
    const char* const text = tooltipOf(hit);
    if (text == nullptr)
        return;
    const float size = legibleSize(tools, theme::kControlSize, 9.0F);
    const float padding = 0.7F * size;
    const float pitch = 1.4F * size;
    Rows rows;
    const auto lines = breakText(tools, size, text, kWidest * size / theme::kControlSize, rows);
    if (lines.empty()) // there is no font
        return;
    float width = 0.0F;
    for (const NVGtextRow& line : lines)
        width = std::max(width, line.width);
    const float height = pitch * static_cast<float>(lines.size()) + padding;
    const Rect box = placeBeside(pointer, width + 2.0F * padding, height, kCursorPx / tools.zoom);
    fillBox(tools, box, 4.0F, theme::kTooltip);
    strokeBox(tools, box, 4.0F, theme::kTooltipOutline);
    Point at = {box.x + padding, box.y + 0.5F * (padding + pitch)};
    for (const NVGtextRow& line : lines) {
        drawText(tools, at, {size, theme::kText}, line.start, line.end);
        at.y += pitch;
    }
}

} // namespace ui
