#include "ui/HitTest.h"

#include "ui/ControlMap.h"

#include <array>
#include <cmath>

namespace ui {
namespace {

constexpr float kFilterReach = 9.0F;
constexpr float kThresholdReach = 12.0F;

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

Target entryAt(Point p, int entries) {
    for (int i = 0; i < entries; ++i)
        if (dropdownEntry(i, entries).contains(p))
            return Target::Entry + i;
    return Target::None;
}

Target filterAt(Point p, Side side, const shm::Filters& filters) {
    const Rect& analyzer = analyzerOf(side);
    if (!Rect{analyzer.x, analyzer.y, analyzer.width, kFilterHandleHeight}.contains(p))
        return Target::None;
    for (int i = 0; i < shm::Filters::kCount; ++i)
        if (std::fabs(p.x - xOf(filters[i])) < kFilterReach)
            return targetOf({Part::Filter, side, i});
    return Target::None;
}

Target analyzerAt(Point p, Side side, const HitScene::Track& track) {
    const Target filter = filterAt(p, side, track.filters);
    return filter != Target::None ? filter : hitTestBandArea(p, side, track.bands);
}

/// Position of the first band whose span holds x, -1 without one.
int bandAt(float x, const shm::BandSet& bands) {
    for (int i = 0; i < bands.count; ++i)
        if (xOf(bands[i].loHz) <= x && x <= xOf(bands[i].hiHz))
            return i;
    return -1;
}

} // namespace

Target hitTestBandArea(Point p, Side side, const shm::BandSet& bands) {
    if (!analyzerOf(side).contains(p))
        return Target::None;
    for (int i = 0; i + 1 < bands.count; ++i)
        if (std::fabs(p.x - xOf(bands[i].hiHz)) < kEdgeReach)
            return targetOf({Part::Edge, side, i});

    const int band = bandAt(p.x, bands);
    if (band < 0)
        return Target::None;
    const float right = xOf(bands[band].hiHz);
    const float width = right - xOf(bands[band].loHz);
    const float dy = std::fabs(p.y - thresholdY(side, bands[band].threshDb));
    const bool atRightEnd = right - kRatioLeft <= p.x && p.x <= right + kRatioRight;
    Part part = Part::Body;
    if (width > kRatioNeedsWidth && atRightEnd && dy <= kThresholdReach)
        part = Part::Ratio;
    else if (width > kThresholdNeedsWidth && dy < kThresholdReach)
        part = Part::Threshold;
    return targetOf({part, side, band});
}

bool isOnList(Point p, const HitScene& scene) {
    return scene.dropdownOpen && dropdownList(scene.entries).contains(p);
}

Target hitTest(Point p, const HitScene& scene) {
    if (isOnList(p, scene)) // which lies over all else
        return entryAt(p, scene.entries);
    if (const Target button = buttonAt(p); button != Target::None)
        return button;
    if (const Target knob = knobAt(p); knob != Target::None)
        return knob;
    if (kNameField.contains(p))
        return Target::Name;
    if (kDropdown.contains(p))
        return Target::Dropdown;
    const Target local = analyzerAt(p, Side::Local, scene.local);
    if (local != Target::None || !scene.peerLinked || scene.remote.bands.count == 0)
        return local;
    return analyzerAt(p, Side::Remote, scene.remote);
}

} // namespace ui
