#include "ui/Brush.h"

#include <algorithm>
#include <cmath>

namespace ui {
namespace {

constexpr float kMinReductionDb = 0.2F;
constexpr float kMaxReductionDb = 24.0F;

/// A band's meter, 0 or negative. The engine always has three bands. One band of the editor's puts
/// their splits to 20 and 20000 Hz, so that all bins lie in the middle one; of two, the upper one
/// ends at 20000 Hz, and the meters are the first two.
float meterOf(const shm::BandSet& bands, const ThreeFloats& reductionDb, int band) {
    return reductionDb[bands.count == 1 ? 1 : std::size_t(band)];
}

/// From the panel's top down to the reduction on the thresholds' scale.
void drawCurtain(const DrawTools& tools, const Rect& curtain, const char* text) {
    constexpr float kTextY = 30.0F;
    constexpr Colour kLine = theme::kReduction.withAlpha(216);
    const float size = legibleSize(tools, theme::kControlSize);
    const float room = curtain.width - 2.0F;
    const float centreX = curtain.centre().x;
    fillGradient(tools, curtain, kLine, theme::kReduction.withAlpha(48));
    const bool hasText = curtain.width > 28.0F;
    // The text stays where it is, for the eye, and a line at its height makes room for it.
    const bool struckThrough = hasText && std::abs(curtain.height - kTextY) < 0.6F * size;
    const float gap =
        struckThrough ? 0.5F * std::min(textWidth(tools, size, text), room) + 4.0F : 0.0F;
    drawHorizontal(tools, curtain.bottom(), curtain.x,
                   struckThrough ? centreX - gap : curtain.right(), kLine, 1.0F);
    if (struckThrough)
        drawHorizontal(tools, curtain.bottom(), centreX + gap, curtain.right(), kLine, 1.0F);
    if (hasText)
        drawTextNarrowed(tools, {centreX, curtain.y + kTextY}, size, theme::kHot, text, room);
}

// Filters

/// With the line beside it no wider than the handle's reach: all of it can be gripped.
constexpr Point kGripSize = {7.0F, 15.0F};

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
    drawVertical(tools, filter.x, panel.y, panel.bottom(), filter.hot ? theme::kHot : filter.colour,
                 filter.hot ? 2.0F : 1.0F);
    // A flag at the line, within what the filter leaves: whole also at the ends of the axis, clear
    // of the panel's rounded corner.
    constexpr float kHalf = 0.5F * kGripSize.x;
    const float inward = filter.highPass ? 1.0F : -1.0F;
    const Point grip = {std::clamp(filter.x + inward * (1.0F + kHalf), panel.x + 2.0F + kHalf,
                                   panel.right() - 2.0F - kHalf),
                        panel.y + kFilterHandleHeight - 0.5F * kGripSize.y};
    drawGrip(tools, filter, grip);
    drawFilterLabel(tools, panel, filter, grip);
}

} // namespace

void drawGROverlay(const DrawTools& tools, Side side, const shm::BandSet& bands,
                   const ThreeFloats& reductionDb) {
    const Rect& panel = analyzerOf(side);
    const Clip inside(tools, insideOf(panel));
    for (int i = 0; i < bands.count; ++i) {
        const float left = xOf(bands[i].loHz);
        const float width = xOf(bands[i].hiHz) - left;
        const float reduction = std::min(-meterOf(bands, reductionDb, i), kMaxReductionDb);
        // Written so that a NaN, which a peer may publish, shows nothing.
        if (!(bands[i].enabled && reduction >= kMinReductionDb && width >= 2.0F))
            continue;
        drawCurtain(tools, {left, panel.y, width, kThresholdUnitsPerDb * reduction},
                    reductionText(reduction).data());
    }
}

void drawIgnoredRanges(const DrawTools& tools, Side side, const shm::Filters& filters) {
    const Rect inside = insideOf(analyzerOf(side));
    const float highPass = xOf(filters.hpHz);
    const float lowPass = xOf(filters.lpHz);
    if (highPass > inside.x)
        fillBox(tools, {inside.x, inside.y, highPass - inside.x, inside.height}, 0.0F,
                theme::kIgnoredRange);
    if (lowPass < inside.right())
        fillBox(tools, {lowPass, inside.y, inside.right() - lowPass, inside.height}, 0.0F,
                theme::kIgnoredRange);
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
