#include "ui/Brush.h"
#include "ui/ControlMap.h"

#include <cmath>
#include <numbers>

namespace ui {
namespace {

constexpr float kKnobStart = 0.75F * std::numbers::pi_v<float>; ///< lower left, clockwise
constexpr float kKnobSweep = 1.5F * std::numbers::pi_v<float>;

void drawArc(const DrawTools& tools, Point centre, float radius, float sweep, Colour colour) {
    nvgBeginPath(tools.vg);
    nvgArc(tools.vg, centre.x, centre.y, radius, kKnobStart, kKnobStart + sweep, NVG_CW);
    nvgStrokeColor(tools.vg, nvg(colour));
    nvgStrokeWidth(tools.vg, 3.0F);
    nvgStroke(tools.vg);
}

void drawToggle(const DrawTools& tools, const Rect& box, const char* label, Side side, bool on,
                bool hot) {
    constexpr float kRadius = 3.0F;
    const Colour accent = theme::accentOf(side);
    const Colour text = hot ? theme::kText : theme::kInactiveText;
    if (on)
        fillBox(tools, box, kRadius, accent);
    strokeBox(tools, box, kRadius, on && !hot ? accent : text);
    drawText(tools, box.centre(),
             {theme::kControlSize, on ? theme::kDarkText : text, AlignX::Centre}, label);
}

} // namespace

void drawKnob(const DrawTools& tools, const KnobDef& knob, float value, bool hot) {
    const Hit hit = hitOf(knob.target);
    const ControlRange range = ctrlToParam(hit);
    const float turned = inRange((value - range.min) / (range.max - range.min), 0.0F, 1.0F);
    const Colour colour = hot ? theme::kText : theme::accentOf(hit.side);
    const float radius = knob.radius - 2.0F;
    fillDot(tools, knob.centre, knob.radius - 4.0F, theme::kKnobFace);
    drawArc(tools, knob.centre, radius, kKnobSweep, theme::kOutline);
    if (turned > 0.0F)
        drawArc(tools, knob.centre, radius, kKnobSweep * turned, colour);

    const float angle = kKnobStart + kKnobSweep * turned;
    const float reach = knob.radius - 6.0F;
    fillDot(tools,
            {knob.centre.x + reach * std::cos(angle), knob.centre.y + reach * std::sin(angle)},
            2.5F, colour);

    const Colour text = hot ? theme::kText : theme::kInactiveText;
    drawText(tools, {knob.centre.x, knob.centre.y - knob.radius - 2.0F},
             {theme::kControlSize, text, AlignX::Centre, AlignY::Bottom},
             valueText(value, knob.format).data());
    drawText(tools, {knob.centre.x, knob.centre.y + knob.radius + 3.0F},
             {theme::kControlSize, text, AlignX::Centre, AlignY::Top}, knob.label);
}

void drawBypassToggle(const DrawTools& tools, Side side, bool on, bool hot) {
    drawToggle(tools, side == Side::Local ? kOwnBypass : kPeerBypass, "BYP", side, on, hot);
}

void drawDuckToggle(const DrawTools& tools, Side side, bool on, bool hot) {
    drawToggle(tools, side == Side::Local ? kOwnDuck : kPeerDuck, "DUCK", side, on, hot);
}

void drawResizeGrip(const DrawTools& tools, bool hot) {
    const Colour colour = hot ? theme::kHot : theme::kInactiveText;
    nvgBeginPath(tools.vg);
    for (const float reach : {5.0F, 9.0F, 13.0F}) {
        nvgMoveTo(tools.vg, kResizeCorner.right() - 3.0F - reach, kResizeCorner.bottom() - 3.0F);
        nvgLineTo(tools.vg, kResizeCorner.right() - 3.0F, kResizeCorner.bottom() - 3.0F - reach);
    }
    nvgStrokeColor(tools.vg, nvg(colour));
    nvgStrokeWidth(tools.vg, 1.0F);
    nvgStroke(tools.vg);
}

} // namespace ui
