#include "ui/Brush.h"

#include <algorithm>

namespace ui {
namespace {

constexpr float kCornerRadius = 6.0F;
constexpr float kPointPitch =
    kAnalyzerWidth / static_cast<float>(std::tuple_size_v<dsp::DisplayLevels> - 1);

void drawPanel(const DrawTools& tools, const Rect& panel) {
    fillBox(tools, panel, kCornerRadius, theme::kPanel);
    strokeBox(tools, panel, kCornerRadius, theme::kOutline);
}

void drawLevelGrid(const DrawTools& tools, const Rect& panel) {
    for (const float line : kLevelLines)
        drawHorizontal(tools, panel.y + line, panel.x, panel.right(), theme::kLevelGrid, 0.5F);
}

Point pointOf(Side side, const dsp::DisplayLevels& levels, std::size_t i) {
    return {kAnalyzerLeft + kPointPitch * static_cast<float>(i), levelY(side, levels[i])};
}

/// Continues the path through all points.
void traceCurve(const DrawTools& tools, Side side, const dsp::DisplayLevels& levels) {
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const Point p = pointOf(side, levels, i);
        nvgLineTo(tools.vg, p.x, p.y);
    }
}

void drawArea(const DrawTools& tools, Side side, const dsp::DisplayLevels& levels) {
    const Rect& panel = analyzerOf(side);
    const Colour accent = theme::accentOf(side);
    nvgBeginPath(tools.vg);
    nvgMoveTo(tools.vg, panel.x, panel.bottom());
    traceCurve(tools, side, levels);
    nvgLineTo(tools.vg, panel.right(), panel.bottom());
    nvgClosePath(tools.vg);
    nvgFillPaint(tools.vg,
                 nvgLinearGradient(tools.vg, 0.0F, panel.y, 0.0F, panel.bottom(),
                                   nvg(accent.withAlpha(136)), nvg(accent.withAlpha(24))));
    nvgFill(tools.vg);
}

void drawCurve(const DrawTools& tools, Side side, const dsp::DisplayLevels& levels) {
    const Point first = pointOf(side, levels, 0);
    nvgBeginPath(tools.vg);
    nvgMoveTo(tools.vg, first.x, first.y);
    traceCurve(tools, side, levels);
    nvgStrokeColor(tools.vg, nvg(theme::accentOf(side).withAlpha(221)));
    nvgStrokeWidth(tools.vg, 1.5F);
    nvgStroke(tools.vg);
}

} // namespace

void drawAnalyzerPanel(const DrawTools& tools, Side side) {
    const Rect& panel = analyzerOf(side);
    drawPanel(tools, panel);
    const Clip inside(tools, insideOf(panel));
    drawLevelGrid(tools, panel);
}

void drawSpectralBand(const DrawTools& tools, Side side, const dsp::DisplayLevels& levels) {
    const Clip inside(tools, insideOf(analyzerOf(side)));
    // Silence would be a line along the panel's edge.
    const bool audible = std::any_of(levels.begin(), levels.end(),
                                     [](float level) { return level > kLowestLevelDb; });
    if (!audible)
        return;
    drawArea(tools, side, levels);
    drawCurve(tools, side, levels);
}

void drawAnalyzerFrame(const DrawTools& tools, Side side) {
    const Rect& panel = analyzerOf(side);
    nvgBeginPath(tools.vg);
    nvgRect(tools.vg, panel.x, panel.y, panel.width, panel.height);
    nvgRoundedRect(tools.vg, panel.x, panel.y, panel.width, panel.height, kCornerRadius);
    nvgPathWinding(tools.vg, NVG_HOLE);
    nvgFillColor(tools.vg, nvg(theme::kBackground));
    nvgFill(tools.vg);
    strokeBox(tools, panel, kCornerRadius, theme::kOutline);
}

} // namespace ui
