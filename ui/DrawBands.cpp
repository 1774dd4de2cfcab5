#include "ui/Brush.h"

#include <algorithm>

namespace ui {
namespace {

// Narrower bands lack the part.
constexpr float kNarrowestBand = 4.0F;
constexpr float kNarrowestOff = 40.0F;

constexpr float kRatioBox = 14.0F;
constexpr float kHandleRadius = 5.0F;

/// One band as it is drawn.
struct BandView {
    const DrawTools& tools;
    Side side;
    const Rect& panel;
    const TDBand& band;
    int index;
    float left, right; ///< canvas units
    float ratioX;      ///< of the ratio handle's centre
    Colour colour;     ///< faded when disabled

    [[nodiscard]] float width() const { return right - left; }
    [[nodiscard]] bool is(const Hit& hot, Part part) const { return hot == Hit{part, side, index}; }
    /// Kept `inset` units inside the panel, where 0 and -60 dB could not be seen.
    [[nodiscard]] float thresholdY(float inset) const {
        return std::clamp(panel.y - kThresholdUnitsPerDb * band.threshDb, panel.y + inset,
                          panel.bottom() - inset);
    }
    [[nodiscard]] float lineY() const { return thresholdY(2.0F); }
    [[nodiscard]] float handleY() const { return thresholdY(0.5F * kRatioBox + 2.0F); }
    [[nodiscard]] Colour faded(Colour c) const {
        return c.faded(band.enabled ? 1.0F : theme::kDisabledBand);
    }
};

BandView viewOf(const DrawTools& tools, Side side, const shm::BandSet& list, int index) {
    const TDBand& band = list[index];
    const Colour colour = theme::kBands[index];
    const float right = xOf(band.hiHz);
    return {tools,
            side,
            analyzerOf(side),
            band,
            index,
            xOf(band.loHz),
            right,
            right - ratioFromEdge(index + 1 < list.count),
            colour.faded(band.enabled ? 1.0F : theme::kDisabledBand)};
}

void hatch(const BandView& view) {
    constexpr float kPitch = 10.0F;
    const Rect span = {view.left, view.panel.y, view.width(), view.panel.height};
    const Clip inside(view.tools, span);
    NVGcontext* const vg = view.tools.vg;
    nvgBeginPath(vg);
    for (float x = view.left - span.height; x < view.right; x += kPitch) {
        nvgMoveTo(vg, x, span.bottom());
        nvgLineTo(vg, x + span.height, span.y);
    }
    nvgStrokeColor(vg, nvg(theme::kHatching));
    nvgStrokeWidth(vg, 1.0F);
    nvgStroke(vg);
}

void drawBody(const BandView& view, bool hot) {
    const Rect span = {view.left, view.panel.y, view.width(), view.panel.height};
    const Colour body = theme::kBands[view.index].withAlpha(theme::kBandBodyAlpha[view.index]);
    fillBox(view.tools, span, 0.0F, view.faded(body));
    if (hot)
        fillBox(view.tools, span, 0.0F, theme::kBodyHovered);
    if (view.band.enabled)
        return;
    hatch(view);
    if (view.width() > kNarrowestOff)
        drawText(view.tools, {view.left + 8.0F, view.panel.y + 30.0F},
                 {legibleSize(view.tools, theme::kControlSize), theme::kInactiveText}, "off");
}

void drawThreshold(const BandView& view, bool hot) {
    const Colour colour = hot ? theme::kHot : view.colour;
    const float start = view.left + 22.0F;
    const float end = view.ratioX - 10.0F;
    const float width = hot ? 2.0F : 1.5F;
    if (end > start) {
        drawHorizontal(view.tools, view.lineY(), start, end, view.faded(theme::kCasing),
                       width + 2.0F);
        drawHorizontal(view.tools, view.lineY(), start, end, colour, width);
    }
    // In a narrow band the handle keeps clear of the ratio's.
    const Point handle = {std::min(start, view.ratioX - 14.0F), view.handleY()};
    const float radius = hot ? kHandleRadius + 1.0F : kHandleRadius;
    fillDot(view.tools, handle, radius, hot ? theme::kText : view.colour);
    strokeRing(view.tools, handle, radius, theme::kHandleOutline, 1.0F);
}

void drawRatio(const BandView& view, bool hot) {
    constexpr float kBarHeight = 6.0F;
    const float centreX = view.ratioX;
    const float longest = std::min(60.0F, centreX - view.left - 34.0F);
    const float length = longest * (view.band.ratio - 1.0F) / 19.0F;
    if (length > 1.0F)
        fillBox(view.tools,
                {centreX - length, view.lineY() - 0.5F * kBarHeight, length, kBarHeight}, 3.0F,
                view.faded(theme::kBands[view.index].withAlpha(85)));

    const float half = 0.5F * kRatioBox;
    const Rect box = {centreX - half, view.handleY() - half, kRatioBox, kRatioBox};
    fillBox(view.tools, box, 3.0F, hot ? theme::kText : view.colour);
    strokeBox(view.tools, box, 3.0F, theme::kHandleOutline);
    const bool filled = view.band.enabled || hot;
    // Twice, as a bolder letter: once is too faint to read at a pixel a unit.
    for (int pass = 0; pass < 2; ++pass)
        drawTextNarrowed(view.tools, box.centre(), theme::kRatioSize,
                         filled ? theme::kRatioText : theme::kInactiveText,
                         ratioText(view.band.ratio).data(), kRatioBox - 2.0F);
}

void drawEdge(const DrawTools& tools, const Rect& panel, float x, bool hot) {
    const Colour colour = hot ? theme::kHot : theme::kEdge;
    drawVertical(tools, x, panel.y, panel.bottom(), colour, hot ? 2.0F : 1.0F);
    const Rect grip = {x - 2.0F, panel.centre().y - 10.0F, 4.0F, 20.0F};
    fillBox(tools, grip, 2.0F, hot ? theme::kText : Colour{150, 150, 150});
}

/// Every edge between two bands; where a list has a gap, both its sides.
void drawEdges(const DrawTools& tools, Side side, const shm::BandSet& bands, const Hit& hot) {
    const Rect& panel = analyzerOf(side);
    for (int edge = 0; edge + 1 < bands.count; ++edge) {
        const float right = xOf(bands[edge].hiHz);
        const float left = xOf(bands[edge + 1].loHz);
        const bool isHot = hot == Hit{Part::Edge, side, edge};
        drawEdge(tools, panel, right, isHot);
        if (left != right)
            drawEdge(tools, panel, left, isHot);
    }
}

/// The edges' frequencies, each on its edge and clear of the shade, if it fits between the filters;
/// a second one that has no room moves up.
void drawEdgeLabels(const DrawTools& tools, Side side, const shm::BandSet& bands) {
    if (bands.count < 2)
        return;
    const float size = legibleSize(tools, theme::kSmallSize);
    const Rect panel = insideOf(analyzerOf(side));
    const float left = std::max(panel.x, xOf(bands[0].loHz));
    const float right = std::min(panel.right(), xOf(bands[bands.count - 1].hiHz));
    Rect taken = {};
    for (int edge = 0; edge + 1 < bands.count; ++edge) {
        const float hz = bands[edge].hiHz;
        const ShortText text = edgeText(hz);
        const float width = labelWidth(tools, size, text.data());
        const Rect limits =
            right - left < width ? panel : Rect{left, panel.y, right - left, panel.height};
        const float row = panel.bottom() - 2.5F * size;
        const float x = std::min(xOf(hz), limits.right() - 0.5F * width);
        const bool collides = edge > 0 && x - 0.5F * width < taken.right();
        taken = drawLabel(tools, {x, collides ? row - 1.6F * size : row}, size, theme::kText,
                          text.data(), limits);
    }
}

/// The value that is being hovered or dragged, above its handle.
void drawReadout(const BandView& view, float x, const char* text) {
    const float size = legibleSize(view.tools, theme::kControlSize);
    const float away = 8.0F + 0.8F * size;
    const bool roomAbove = view.handleY() - away - size > view.panel.y;
    Rect limits = insideOf(view.panel);
    if (view.width() > 8.0F * size) { // clear of the filters' lines
        limits.x = view.left;
        limits.width = view.width();
    }
    drawLabel(view.tools, {x, roomAbove ? view.handleY() - away : view.handleY() + away}, size,
              theme::kText, text, limits);
}

void drawReadouts(const BandView& view, const Hit& hot) {
    if (view.is(hot, Part::Threshold))
        drawReadout(view, 0.5F * (view.left + view.right),
                    reductionText(-view.band.threshDb).data());
    if (view.is(hot, Part::Ratio))
        drawReadout(view, view.ratioX, ratioText(view.band.ratio).data());
}

void drawBand(const BandView& view, const Hit& hot) {
    drawBody(view, view.is(hot, Part::Body));
    if (view.width() > kThresholdNeedsWidth)
        drawThreshold(view, view.is(hot, Part::Threshold));
    if (view.width() > kRatioNeedsWidth)
        drawRatio(view, view.is(hot, Part::Ratio));
}

struct GridLine {
    float hz;
    const char* label;
};
constexpr GridLine kGridLines[] = {
    {30.0F, "30"},   {50.0F, "50"},   {100.0F, "100"}, {200.0F, "200"},   {500.0F, "500"},
    {1000.0F, "1k"}, {2000.0F, "2k"}, {5000.0F, "5k"}, {10000.0F, "10k"}, {20000.0F, "20k"}};

/// Of the level grid, on the spectrum's scale: each stands on its line.
void drawLevelLabels(const DrawTools& tools, const Rect& panel) {
    const float size = legibleSize(tools, theme::kLevelSize, 6.5F);
    for (const float line : kLevelLines)
        drawText(tools, {panel.x + 3.0F, panel.y + line - 1.5F},
                 {size, theme::kLevelText, AlignX::Left, AlignY::Bottom},
                 levelText(-line / kLevelUnitsPerDb).data());
}

void drawFrequencyGrid(const DrawTools& tools, const Rect& panel) {
    const float size = legibleSize(tools, theme::kSmallSize);
    for (const auto& [hz, label] : kGridLines) {
        drawVertical(tools, xOf(hz), panel.y, panel.bottom(), theme::kFrequencyGrid, 1.0F);
        const float half = 0.5F * textWidth(tools, size, label);
        const float x = std::min(xOf(hz), panel.right() - half - 4.0F);
        drawText(tools, {x, panel.bottom() - 0.5F * size - 3.0F},
                 {size, theme::kGridText, AlignX::Centre}, label);
    }
}

/// Fine dashes in a dark casing.
void drawDashed(const DrawTools& tools, float y, float left, float right) {
    constexpr float kDash = 4.0F;
    constexpr float kPitch = 8.0F;
    for (float x = left; x < right; x += kPitch) {
        const float end = std::min(x + kDash, right);
        drawHorizontal(tools, y, x, end, theme::kCasing, 3.0F);
        drawHorizontal(tools, y, x, end, theme::kGhost, 1.0F);
    }
}

} // namespace

void drawDynBands(const DrawTools& tools, Side side, const shm::BandSet& bands, const Hit& hot) {
    const Rect& panel = analyzerOf(side);
    const Clip inside(tools, insideOf(panel));
    for (int i = 0; i < bands.count; ++i)
        if (const BandView view = viewOf(tools, side, bands, i); view.width() >= kNarrowestBand)
            drawBand(view, hot);
    drawEdges(tools, side, bands, hot);
    drawFrequencyGrid(tools, panel);
    drawLevelLabels(tools, panel);
}

void drawThresholdGhosts(const DrawTools& tools, Side side, const shm::BandSet& bands,
                         const Hit& hot) {
    const Rect& panel = analyzerOf(otherOf(side));
    const Clip inside(tools, insideOf(panel));
    for (int i = 0; i < bands.count; ++i)
        if (const TDBand& band = bands[i]; band.enabled && hot == Hit{Part::Threshold, side, i})
            drawDashed(tools, std::max(thresholdGhostY(side, band.threshDb), panel.y + 2.0F),
                       xOf(band.loHz), xOf(band.hiHz));
}

void drawBandLabels(const DrawTools& tools, Side side, const shm::BandSet& bands, const Hit& hot) {
    const Clip inside(tools, insideOf(analyzerOf(side)));
    drawEdgeLabels(tools, side, bands);
    for (int i = 0; i < bands.count; ++i)
        drawReadouts(viewOf(tools, side, bands, i), hot);
}

} // namespace ui
