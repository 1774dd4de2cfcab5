#include "ui/HitTest.h"

#include "ui/Knobs.h"

#include <array>
#include <cmath>

namespace ui {
namespace {

constexpr float kEdgeReach = 8.0F;
constexpr float kFilterReach = 9.0F;
constexpr float kThresholdReach = 12.0F;
constexpr float kRatioLeft = 22.0F; ///< the ratio handle reaches from here left of the upper edge
constexpr float kRatioRight = 2.0F; ///< to here right of it

struct Button {
    Rect area;
    Target target;
};
constexpr std::array<Button, 5> kButtons = {{{kResizeCorner, Target::ResizeCorner},
                                             {kOwnBypass, Target::OwnBypass},
                                             {kOwnDuck, Target::OwnDuck},
                                             {kPeerBypass, Target::PeerBypass},
                                             {kPeerDuck, Target::PeerDuck}}};

Target buttonAt(Point p) {
    for (const auto& [area, target] : kButtons)
        if (area.contains(p))
            return target;
    return Target::None;
}

Target knobAt(Point p) {
    for (const KnobDef& knob : kKnobs) {
        const float dx = p.x - knob.centre.x;
        const float dy = p.y - knob.centre.y;
        if (dx * dx + dy * dy <= kKnobReach * kKnobReach)
            return knob.target;
    }
    return Target::None;
}

Target dropdownAt(Point p, const HitScene& scene) {
    for (int i = 0; scene.dropdownOpen && i < scene.entries; ++i)
        if (dropdownEntry(i).contains(p))
            return Target::Entry + i;
    return kDropdown.contains(p) ? Target::Dropdown : Target::None;
}

Target filterAt(Point p, Side side, FilterPair filters) {
    const Rect& analyzer = analyzerOf(side);
    const Target highPass = side == Side::Local ? Target::LocalHighPass : Target::RemoteHighPass;
    if (!Rect{analyzer.x, analyzer.y, analyzer.width, kFilterHandleHeight}.contains(p))
        return Target::None;
    if (std::fabs(p.x - xOf(filters.hpHz)) < kFilterReach)
        return highPass;
    return std::fabs(p.x - xOf(filters.lpHz)) < kFilterReach ? highPass + 1 : Target::None;
}

Target analyzerAt(Point p, Side side, FilterPair filters, const BandList& list) {
    const Target filter = filterAt(p, side, filters);
    return filter != Target::None ? filter : hitTestBandArea(p, side, list);
}

/// Position of the first band whose span holds x, -1 without one.
int bandAt(float x, const BandList& list) {
    for (int i = 0; i < list.count; ++i)
        if (xOf(list[i].lo) <= x && x <= xOf(list[i].hi))
            return i;
    return -1;
}

} // namespace

Target hitTestBandArea(Point p, Side side, const BandList& list) {
    if (!analyzerOf(side).contains(p))
        return Target::None;
    const BandTargets targets = bandTargetsOf(side);
    for (int i = 0; i + 1 < list.count; ++i)
        if (std::fabs(p.x - xOf(list[i].hi)) < kEdgeReach)
            return targets.edge + i;

    const int band = bandAt(p.x, list);
    if (band < 0)
        return Target::None;
    const float right = xOf(list[band].hi);
    const float width = right - xOf(list[band].lo);
    const float dy = std::fabs(p.y - thresholdY(side, list[band].threshold));
    const bool atRightEnd = right - kRatioLeft <= p.x && p.x <= right + kRatioRight;
    if (width > kRatioNeedsWidth && atRightEnd && dy <= kThresholdReach)
        return targets.ratio + band;
    if (width > kThresholdNeedsWidth && dy < kThresholdReach)
        return targets.threshold + band;
    return targets.body + band;
}

Target hitTest(Point p, const HitScene& scene) {
    if (const Target button = buttonAt(p); button != Target::None)
        return button;
    if (const Target knob = knobAt(p); knob != Target::None)
        return knob;
    if (kNameField.contains(p))
        return Target::Name;
    if (const Target dropdown = dropdownAt(p, scene); dropdown != Target::None)
        return dropdown;
    const Target local = analyzerAt(p, Side::Local, scene.localFilters, scene.localBands);
    if (local != Target::None || !scene.peerLinked || scene.remoteBands.count == 0)
        return local;
    return analyzerAt(p, Side::Remote, scene.remoteFilters, scene.remoteBands);
}

} // namespace ui
