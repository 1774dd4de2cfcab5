/// Which gestures each target takes; pure.
#pragma once

#include "plugin/Parameters.h"
#include "ui/ControlMap.h"

namespace ui {

[[nodiscard]] constexpr bool isOwnKnob(Target target) {
    return indexIn(Target::LocalAttack, target) >= 0;
}
[[nodiscard]] constexpr bool isPeerKnob(Target target) { return peerControlOf(target) >= 0; }
[[nodiscard]] constexpr bool isThreshold(Target target) {
    return indexIn(Target::LocalThreshold, target) >= 0 ||
           indexIn(Target::RemoteThreshold, target) >= 0;
}
[[nodiscard]] constexpr bool isRatio(Target target) {
    return indexIn(Target::LocalRatio, target) >= 0 || indexIn(Target::RemoteRatio, target) >= 0;
}
[[nodiscard]] constexpr bool isFilter(Target target) {
    return indexIn(Target::LocalHighPass, target, 4) >= 0;
}
[[nodiscard]] constexpr bool isEdge(Target target) {
    return indexIn(Target::LocalEdge, target) >= 0 || indexIn(Target::RemoteEdge, target) >= 0;
}
[[nodiscard]] constexpr bool isBand(Target target) {
    return indexIn(Target::LocalBand, target) >= 0 || indexIn(Target::RemoteBand, target) >= 0;
}

/// Dragged along the frequency axis; all else that is dragged goes up and down.
[[nodiscard]] constexpr bool dragsAcross(Target target) {
    return isFilter(target) || isEdge(target) || isBand(target);
}
[[nodiscard]] constexpr bool dragsUp(Target target) {
    return isOwnKnob(target) || isPeerKnob(target) || isThreshold(target) || isRatio(target);
}

/// What a double click sets a target to that is dragged up and down. Deliberate: every band's
/// handle goes back to the low band's default.
[[nodiscard]] inline float defaultOf(Target target) {
    const int param = isThreshold(target) ? static_cast<int>(ThreshLow)
                      : isRatio(target)   ? static_cast<int>(RatioLow)
                                          : ctrlToParam(target).param;
    return static_cast<float>(kParamTable[std::size_t(param)].defaultValue);
}

/// How the pointer looks over a target.
enum class PointerShape { Arrow, Across, Up, Hand, Text };
[[nodiscard]] constexpr PointerShape pointerShapeOver(Target target) {
    if (dragsAcross(target) || target == Target::ResizeCorner)
        return PointerShape::Across;
    if (dragsUp(target))
        return PointerShape::Up;
    if (target == Target::Name)
        return PointerShape::Text;
    return target == Target::None ? PointerShape::Arrow : PointerShape::Hand;
}

} // namespace ui
