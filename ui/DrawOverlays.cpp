#include "ui/Brush.h"

#include <algorithm>

namespace ui {
namespace {

constexpr float kMinReductionDb = 0.2F;
constexpr float kMaxReductionDb = 24.0F;

/// A band's meter, 0 or negative. With one band the engine's splits need not be at its edges: then
/// all three meters are its own, and the strongest counts.
float meterOf(const shm::BandSet& bands, const ThreeFloats& reductionDb, int band) {
    return bands.count == 1 ? *std::min_element(reductionDb.begin(), reductionDb.end())
                            : reductionDb[std::size_t(band)];
}

/// From the panel's top down to the reduction on the thresholds' scale.
void drawCurtain(const DrawTools& tools, const Rect& curtain) {
    fillGradient(tools, curtain, theme::kReduction.withAlpha(216), theme::kReduction.withAlpha(48));
    drawHorizontal(tools, curtain.bottom(), curtain.x, curtain.right(),
                   theme::kReduction.withAlpha(216), 1.0F);
}

// Filters

/// With the line beside it no wider than the handle's reach: all of it can be gripped.
constexpr Point kGripSize = {8.0F, 16.0F};

struct FilterView {
    bool highPass;
    float x; ///< canvas units
    Colour colour;
    bool hot;
    ShortText label;
};

/// A flag that shows the filter's slope.
void drawGrip(const DrawTools& tools, const FilterView& filter, Point centre) {
    const Rect grip = {centre.x - 0.5F * kGripSize.x, centre.y - 0.5F * kGripSize.y, kGripSize.x,
                       kGripSize.y};
    fillBox(tools, grip, 3.0F, filter.hot ? theme::kText : theme::kFilterGrip);
    strokeBox(tools, grip, 3.0F, filter.hot ? theme::kHandleOutline : filter.colour);
    const float mirror = filter.highPass ? 1.0F : -1.0F;
    nvgBeginPath(tools.vg);
    nvgMoveTo(tools.vg, centre.x - mirror * 2.5F, centre.y + 4.0F);
    nvgLineTo(tools.vg, centre.x - mirror * 0.5F, centre.y - 3.0F);
    nvgLineTo(tools.vg, centre.x + mirror * 2.5F, centre.y - 3.0F);
    nvgStrokeColor(tools.vg, nvg(filter.hot ? theme::kDarkText : theme::kText));
    nvgStrokeWidth(tools.vg, 1.5F);
    nvgStroke(tools.vg);
}

/// Beside the grip, on the side away from the other filter unless that is outside the panel.
void drawFilterLabel(const DrawTools& tools, const Rect& panel, const FilterView& filter,
                     Point grip) {
    const float size = legibleSize(tools, theme::kSmallSize);
    const float away = 0.5F * (textWidth(tools, size, filter.label.data()) + size + kGripSize.x);
    const bool roomOutside =
        filter.highPass ? grip.x - 2.0F * away > panel.x : grip.x + 2.0F * away < panel.right();
    const bool onLeft = filter.highPass == roomOutside;
    drawLabel(tools, {onLeft ? grip.x - away - 2.0F : grip.x + away + 2.0F, grip.y}, size,
              filter.hot ? theme::kHot : theme::kText, filter.label.data(), insideOf(panel));
}

void drawFilter(const DrawTools& tools, const Rect& panel, const FilterView& filter) {
    const Rect ignored = filter.highPass
                             ? Rect{panel.x, panel.y, filter.x - panel.x, panel.height}
                             : Rect{filter.x, panel.y, panel.right() - filter.x, panel.height};
    if (ignored.width > 0.0F)
        fillBox(tools, ignored, 0.0F, theme::kIgnoredRange);
    drawVertical(tools, filter.x, panel.y, panel.bottom(), filter.hot ? theme::kHot : filter.colour,
                 filter.hot ? 2.0F : 1.0F);
    // A flag at the line, within what the filter leaves: whole also at the ends of the axis.
    const float inward = filter.highPass ? 1.0F : -1.0F;
    const Point grip = {filter.x + inward * (1.0F + 0.5F * kGripSize.x),
                        panel.y + 0.5F * kFilterHandleHeight + 1.0F};
    drawGrip(tools, filter, grip);
    drawFilterLabel(tools, panel, filter, grip);
}

} // namespace

void drawGROverlay(const DrawTools& tools, Side side, const shm::BandSet& bands,
                   const ThreeFloats& reductionDb) {
    const Rect& panel = analyzerOf(side);
    const float size = legibleSize(tools, theme::kControlSize);
    const Clip inside(tools, insideOf(panel));
    for (int i = 0; i < bands.count; ++i) {
        const float left = xOf(bands[i].loHz);
        const float width = xOf(bands[i].hiHz) - left;
        const float reduction = std::min(-meterOf(bands, reductionDb, i), kMaxReductionDb);
        // Written so that a NaN, which a peer may publish, shows nothing.
        if (!(bands[i].enabled && reduction >= kMinReductionDb && width >= 2.0F))
            continue;
        drawCurtain(tools, {left, panel.y, width, kThresholdUnitsPerDb * reduction});
        if (width > 28.0F)
            drawTextNarrowed(tools, {left + 0.5F * width, panel.y + 30.0F}, size, theme::kHot,
                             reductionText(reduction).data(), width - 2.0F);
    }
}

void drawHpLp(const DrawTools& tools, Side side, const shm::Filters& filters, const Hit& hot) {
    const Rect& panel = analyzerOf(side);
    const Colour accent = theme::accentOf(side);
    const Clip inside(tools, insideOf(panel));
    for (int i = 0; i < shm::Filters::kCount; ++i)
        drawFilter(tools, panel,
                   {i == 0, xOf(filters[i]), accent, hot == Hit{Part::Filter, side, i},
                    filterText(filters[i])});
}

} // namespace ui
