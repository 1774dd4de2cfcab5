/// What each target edits, and how far a drag, a wheel step or a double click moves it; pure.
#pragma once

#include "ui/HitTest.h"

namespace ui {

/// The value behind a target.
struct ControlRange {
    int param = -1; ///< index in plugin/Parameters.h; -1: not one of this instance's parameters
    float min = 0.0F;
    float max = 1.0F;
    float step = 0.0F; ///< 0: continuous
};

/// Own and peer's knobs have the same ranges and parameters, though a peer's values live in the
/// registry. Targets that edit no number have the default record.
[[nodiscard]] ControlRange ctrlToParam(Target target);

/// The value of a vertical drag that has gone `up` units from where `atPress` was the value. The
/// whole range takes 333 units, with fine 1250.
[[nodiscard]] float draggedValue(const ControlRange& range, float atPress, float up, bool fine);
/// One wheel notch, a hundredth of the range, up or down.
[[nodiscard]] float wheeledValue(const ControlRange& range, float current, bool up);
/// Whether the wheel acts on a target: the local handles and all knobs. Over a peer's knob it turns
/// this instance's own parameter. Deliberate, as is that it changes the parameter, not the band.
[[nodiscard]] bool wheelActsOn(Target target);

/// The frequency of a horizontal drag by `right` units from where `atPressHz` was the value.
[[nodiscard]] float draggedHz(float atPressHz, float right);

/// Which of attack, release and makeup a peer's knob turns; -1 for other targets.
[[nodiscard]] constexpr int peerControlOf(Target target) {
    return indexIn(Target::PeerAttack, target);
}

} // namespace ui
