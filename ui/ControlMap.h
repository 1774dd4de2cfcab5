/// The controls: what each part edits, which gestures it takes, and how far a drag, a wheel step or
/// a double click moves it; pure.
#pragma once

#include "ui/HitTest.h"

#include <array>

namespace ui {

/// The value behind a part.
struct ControlRange {
    int param = -1; ///< index in plugin/Parameters.h; -1: not one of this instance's parameters
    float min = 0.0F;
    float max = 1.0F;
    float step = 0.0F; ///< 0: continuous
};

/// Own and peer's knobs have the same ranges and parameters, though a peer's values live in the
/// registry. Parts that edit no number have the default record.
[[nodiscard]] ControlRange ctrlToParam(const Hit& hit);

/// The value of a vertical drag that has gone `up` units from where `atPress` was the value. The
/// whole range takes 333 units, with fine 1250.
[[nodiscard]] float draggedValue(const ControlRange& range, float atPress, float up, bool fine);
/// One wheel notch, a hundredth of the range, up or down.
[[nodiscard]] float wheeledValue(const ControlRange& range, float current, bool up);
/// Whether the wheel acts on a part: the local handles and all knobs. Over a peer's knob it turns
/// this instance's own parameter. Deliberate, as is that it changes the parameter, not the band.
[[nodiscard]] bool wheelActsOn(const Hit& hit);

/// The frequency of a horizontal drag by `right` units from where `atPressHz` was the value.
[[nodiscard]] float draggedHz(float atPressHz, float right);

/// Dragged along the frequency axis; all else that is dragged goes up and down.
[[nodiscard]] constexpr bool dragsAcross(Part part) {
    return part == Part::Filter || part == Part::Edge || part == Part::Body;
}
[[nodiscard]] constexpr bool dragsUp(Part part) {
    return part == Part::Knob || part == Part::Threshold || part == Part::Ratio;
}

/// What a double click sets a part to that is dragged up and down. Deliberate: every band's handle
/// goes back to the low band's default.
[[nodiscard]] float defaultOf(const Hit& hit);

/// How the pointer looks over a part.
enum class PointerShape { Arrow, Across, Up, Hand, Text };
[[nodiscard]] constexpr PointerShape pointerShapeOver(Part part) {
    if (dragsAcross(part) || part == Part::ResizeCorner)
        return PointerShape::Across;
    if (dragsUp(part))
        return PointerShape::Up;
    if (part == Part::Name)
        return PointerShape::Text;
    return part == Part::None ? PointerShape::Arrow : PointerShape::Hand;
}

/// How a knob shows its value.
enum class ValueFormat { Whole, OneDecimal };

/// A knob of this instance or, with the same range (ctrlToParam), of the peer.
struct KnobDef {
    Point centre;
    float radius;
    Target target;
    const char* label;
    ValueFormat format;
};

// clang-format off
inline constexpr std::array<KnobDef, 6> kKnobs = {{
    {kKnobCentres[0], kKnobRadius, Target::LocalAttack,  "Attack",  ValueFormat::OneDecimal},
    {kKnobCentres[1], kKnobRadius, Target::LocalRelease, "Release", ValueFormat::Whole},
    {kKnobCentres[2], kKnobRadius, Target::LocalMakeup,  "Makeup",  ValueFormat::OneDecimal},
    {kKnobCentres[3], kKnobRadius, Target::PeerAttack,   "Attack",  ValueFormat::OneDecimal},
    {kKnobCentres[4], kKnobRadius, Target::PeerRelease,  "Release", ValueFormat::Whole},
    {kKnobCentres[5], kKnobRadius, Target::PeerMakeup,   "Makeup",  ValueFormat::OneDecimal},
}};
// clang-format on

} // namespace ui
