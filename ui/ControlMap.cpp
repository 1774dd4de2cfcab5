#include "ui/ControlMap.h"

#include "plugin/Parameters.h"
#include "ui/InRange.h"

#include <array>
#include <cmath>

namespace ui {
namespace {

constexpr float kDragPerUnit = 0.003F; ///< of a range
constexpr float kFineDragPerUnit = 0.0008F;
constexpr float kWheelNotch = 0.01F;

/// A row of targets and the parameters that have their ranges, in the same order.
struct Row {
    Target first;
    int count;
    ParamIndex param;
    bool ownParam; ///< whether the value is that parameter; else it is in the registry alone
    bool stepped;  ///< whether a gesture keeps to the parameter's step
};
// clang-format off
constexpr std::array<Row, 8> kRows = {{
    {Target::LocalAttack,     3, Attack,    true,  true},
    {Target::PeerAttack,      3, Attack,    true,  true},
    {Target::LocalHighPass,   2, HP,        true,  false},
    {Target::LocalEdge,       2, FreqLow,   true,  false},
    {Target::LocalThreshold,  3, ThreshLow, true,  false},
    {Target::LocalRatio,      3, RatioLow,  true,  false},
    {Target::RemoteThreshold, 3, ThreshLow, false, false},
    {Target::RemoteRatio,     3, RatioLow,  false, false},
}};
// clang-format on

/// Where a value lies in its range, 0 to 1.
float positionOf(const ControlRange& range, float value) {
    return inRange((value - range.min) / (range.max - range.min), 0.0F, 1.0F);
}

float valueAt(const ControlRange& range, float position) {
    float value = range.min + inRange(position, 0.0F, 1.0F) * (range.max - range.min);
    if (range.step > 0.0F)
        value = std::round(value / range.step) * range.step;
    return inRange(value, range.min, range.max) + 0.0F; // rounding up to zero gives -0
}

} // namespace

ControlRange ctrlToParam(Target target) {
    for (const Row& row : kRows) {
        const int index = indexIn(row.first, target, row.count);
        if (index < 0)
            continue;
        const int param = row.param + index;
        const iplug::ParamSpec& spec = kParamTable[std::size_t(param)];
        return {row.ownParam ? param : -1, static_cast<float>(spec.min),
                static_cast<float>(spec.max), row.stepped ? static_cast<float>(spec.step) : 0.0F};
    }
    return {};
}

float draggedValue(const ControlRange& range, float atPress, float up, bool fine) {
    const float perUnit = fine ? kFineDragPerUnit : kDragPerUnit;
    return valueAt(range, positionOf(range, atPress) + up * perUnit);
}

float wheeledValue(const ControlRange& range, float current, bool up) {
    return valueAt(range, positionOf(range, current) + (up ? kWheelNotch : -kWheelNotch));
}

bool wheelActsOn(Target target) { return ctrlToParam(target).param >= 0; }

float draggedHz(float atPressHz, float right) { return hzAt(xOf(atPressHz) + right); }

} // namespace ui
