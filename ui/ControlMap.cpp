#include "ui/ControlMap.h"

#include "plugin/Parameters.h"

#include <array>
#include <cmath>

namespace ui {
namespace {

constexpr float kDragPerUnit = 0.003F; ///< of a range
constexpr float kFineDragPerUnit = 0.0008F;
constexpr float kWheelNotch = 0.01F;

/// What of a row the peer's parts of that kind have too.
enum class Peers { Nothing, Range, All };

/// Parts of a kind and the parameters that have their ranges, in the same order.
struct Row {
    Part part;
    int count;
    ParamIndex param;
    Peers peers;
    bool stepped; ///< whether a gesture keeps to the parameter's step
};
// clang-format off
constexpr std::array<Row, 5> kRows = {{
    {Part::Knob,      3, Attack,    Peers::All,     true},
    {Part::Filter,    2, HP,        Peers::Nothing, false},
    {Part::Edge,      2, FreqLow,   Peers::Nothing, false},
    {Part::Threshold, 3, ThreshLow, Peers::Range,   false},
    {Part::Ratio,     3, RatioLow,  Peers::Range,   false},
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

ControlRange ctrlToParam(const Hit& hit) {
    for (const Row& row : kRows) {
        if (row.part != hit.part || hit.index >= row.count ||
            (hit.side == Side::Remote && row.peers == Peers::Nothing))
            continue;
        const int param = row.param + hit.index;
        const iplug::ParamSpec& spec = kParamTable[std::size_t(param)];
        const bool isOwn = hit.side == Side::Local || row.peers == Peers::All;
        return {isOwn ? param : -1, static_cast<float>(spec.min), static_cast<float>(spec.max),
                row.stepped ? static_cast<float>(spec.step) : 0.0F};
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

bool wheelActsOn(const Hit& hit) { return ctrlToParam(hit).param >= 0; }

float draggedHz(float atPressHz, float right) { return hzAt(xOf(atPressHz) + right); }

float defaultOf(const Hit& hit) {
    const int param = hit.part == Part::Threshold ? static_cast<int>(ThreshLow)
                      : hit.part == Part::Ratio   ? static_cast<int>(RatioLow)
                                                  : ctrlToParam(hit).param;
    return static_cast<float>(kParamTable[std::size_t(param)].defaultValue);
}

} // namespace ui
