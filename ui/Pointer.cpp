// Presses, drags and the wheel: from a gesture to the edit that it means.
#include "ui/EditorSession.h"

namespace ui {
namespace {

constexpr double kDoubleClickSeconds = 0.35;

} // namespace

bool EditorSession::peerLinked() const {
    const TessellaDuckworkSHM& registry = plugin.Registry();
    return registry.Opened() && registry.RemoteId() != 0 && shown.hasListed(shown.selectedPeer);
}

Target EditorSession::targetAt(Point at, bool dropdownOpen) const {
    return hitTest(at, {.localFilters = localFilters(),
                        .localBands = shown.localBands,
                        .remoteFilters = shown.remoteFilters,
                        .remoteBands = shown.remoteBands,
                        .peerLinked = peerLinked(),
                        .dropdownOpen = dropdownOpen,
                        .entries = static_cast<int>(shown.instances.size())});
}

void EditorSession::press(const Press& event) {
    const Target target = targetAt(event.at, shown.dropdownOpen);
    const bool twice = isDoubleClick(event, target);
    const bool inDropdown = target == Target::Dropdown || isEntry(target);
    if (!inDropdown)
        shown.dropdownOpen = false;
    if (target != Target::Name) {
        commitName();
        window.releaseKeyboard();
    }
    shown.dragging = Target::None;
    if (event.button == Button::Secondary)
        split(event.at);
    if (event.button != Button::Primary)
        return;
    if (!(twice && doubleClick(target)) && !act(target, event))
        startDrag(target, event.at);
}

bool EditorSession::isEntry(Target target) const {
    return indexIn(Target::Entry, target, static_cast<int>(shown.instances.size())) >= 0;
}

/// The same button on the same thing, soon after.
bool EditorSession::isDoubleClick(const Press& event, Target target) {
    const bool twice = event.button == lastButton && target == lastTarget &&
                       event.time - lastPressTime < kDoubleClickSeconds;
    lastButton = event.button;
    lastTarget = target;
    lastPressTime = event.time;
    return twice;
}

void EditorSession::split(Point at) {
    if (kLocalAnalyzer.contains(at) && splitBand(shown.localBands, hzAt(at.x))) {
        sortLocalBands();
        syncBandsToDSP();
    }
    if (kRemoteAnalyzer.contains(at) && peerLinked() && splitBand(shown.remoteBands, hzAt(at.x))) {
        sortRemoteBands();
        pushRemoteBandsToSHM();
    }
}

/// False when a second click on the target is nothing special.
bool EditorSession::doubleClick(Target target) {
    if (mergeBands(shown.localBands, indexIn(Target::LocalEdge, target))) {
        sortLocalBands();
        syncBandsToDSP();
        return true;
    }
    if (mergeBands(shown.remoteBands, indexIn(Target::RemoteEdge, target))) {
        sortRemoteBands();
        pushRemoteBandsToSHM();
        return true;
    }
    if (toggleBand(shown.localBands, indexIn(Target::LocalBand, target))) {
        syncBandsToDSP();
        return true;
    }
    if (toggleBand(shown.remoteBands, indexIn(Target::RemoteBand, target))) {
        pushRemoteBandsToSHM();
        return true;
    }
    if (dragsUp(target))
        setValue(target, defaultOf(target));
    return dragsUp(target);
}

/// What acts on the press itself. False for all that is dragged.
bool EditorSession::act(Target target, const Press& event) {
    if (isEntry(target)) {
        choosePeer(indexIn(Target::Entry, target, static_cast<int>(shown.instances.size())));
        return true;
    }
    switch (target) {
    case Target::None:
        return true;
    case Target::Name:
        beginName();
        return true;
    case Target::Dropdown:
        shown.dropdownOpen = !shown.dropdownOpen;
        return true;
    case Target::OwnBypass:
    case Target::OwnDuck:
    case Target::PeerBypass:
    case Target::PeerDuck:
        toggle(target);
        return true;
    case Target::ResizeCorner:
        corner.press(event.xRootPx, window.size());
        shown.dragging = target;
        return true;
    default:
        return false;
    }
}

void EditorSession::toggle(Target target) {
    TessellaDuckworkSHM& registry = plugin.Registry();
    const std::uint64_t peer = registry.RemoteId();
    if (target == Target::OwnBypass)
        registry.SetMyBypass(!registry.ReadMyBypass());
    if (target == Target::OwnDuck)
        plugin.SetDuckSelf(!plugin.DuckSelf());
    if (target == Target::PeerBypass && peer != 0)
        registry.SetBypassOf(peer, !registry.ReadBypassOf(peer));
    if (target == Target::PeerDuck && peer != 0)
        registry.SetDuckSelfOf(peer, !registry.ReadDuckSelfOf(peer));
}

void EditorSession::startDrag(Target target, Point at) {
    shown.dragging = target;
    held = {.at = at, .value = valueBehind(target)};
    for (const auto& [row, bands] : {std::pair(Target::LocalBand, &shown.localBands),
                                     std::pair(Target::RemoteBand, &shown.remoteBands)})
        if (const int band = indexIn(row, target); bands->has(band)) {
            held.loHz = (*bands)[band].lo;
            held.hiHz = (*bands)[band].hi;
        }
}

/// The value that a drag of the target starts from.
float EditorSession::valueBehind(Target target) const {
    const auto band = [&](const BandList& bands, Target row, auto field, float otherwise) {
        const int index = indexIn(row, target);
        return bands.has(index) ? bands[index].*field : otherwise;
    };
    if (indexIn(Target::LocalEdge, target) >= 0)
        return band(shown.localBands, Target::LocalEdge, &SpectralBand::hi, 1000.0F);
    if (indexIn(Target::RemoteEdge, target) >= 0)
        return band(shown.remoteBands, Target::RemoteEdge, &SpectralBand::hi, 1000.0F);
    if (indexIn(Target::RemoteThreshold, target) >= 0)
        return band(shown.remoteBands, Target::RemoteThreshold, &SpectralBand::threshold, -20.0F);
    if (indexIn(Target::RemoteRatio, target) >= 0)
        return band(shown.remoteBands, Target::RemoteRatio, &SpectralBand::ratio, 4.0F);
    if (target == Target::RemoteHighPass)
        return shown.remoteFilters.hpHz;
    if (target == Target::RemoteLowPass)
        return shown.remoteFilters.lpHz;
    if (isPeerKnob(target))
        return peerControl(target);
    const int param = ctrlToParam(target).param;
    return param < 0 ? 0.0F : paramValue(plugin, param);
}

void EditorSession::move(Point at, double xRootPx, bool fine) {
    shown.pointer = at;
    if (cornerIsDragged())
        dragCorner(xRootPx);
    else if (shown.dragging != Target::None)
        drag(at, fine);
    shown.hover = targetAt(at, shown.dropdownOpen);
}

void EditorSession::drag(Point at, bool fine) {
    if (dragsAcross(shown.dragging))
        dragAcross(shown.dragging, at.x - held.at.x);
    else
        setValue(shown.dragging,
                 draggedValue(ctrlToParam(shown.dragging), held.value, held.at.y - at.y, fine));
}

/// A horizontal drag: edges, filters and whole bands move along the frequency axis.
void EditorSession::dragAcross(Target target, float right) {
    const int localBand = indexIn(Target::LocalBand, target);
    const int remoteBand = indexIn(Target::RemoteBand, target);
    const bool body = localBand >= 0 || remoteBand >= 0;
    const float hz = draggedHz(body ? held.loHz : held.value, right);
    if (target == Target::LocalHighPass || target == Target::LocalLowPass)
        setFilter(target, hz);
    else if (target == Target::RemoteHighPass || target == Target::RemoteLowPass)
        setPeerFilter(target, hz);
    else if (moveEdge(shown.localBands, indexIn(Target::LocalEdge, target), hz) ||
             moveBand(shown.localBands, localBand, held.loHz, held.hiHz, hz))
        syncBandsToDSP();
    else if (moveEdge(shown.remoteBands, indexIn(Target::RemoteEdge, target), hz) ||
             moveBand(shown.remoteBands, remoteBand, held.loHz, held.hiHz, hz))
        pushRemoteBandsToSHM();
}

/// A value for what is dragged up and down: thresholds and ratios of bands, knobs of both sides.
void EditorSession::setValue(Target target, float value) {
    const auto setIn = [&](BandList& bands, Target row, auto field) {
        const int index = indexIn(row, target);
        if (bands.has(index))
            bands[index].*field = value;
        return bands.has(index);
    };
    if (setIn(shown.localBands, Target::LocalThreshold, &SpectralBand::threshold) ||
        setIn(shown.localBands, Target::LocalRatio, &SpectralBand::ratio))
        syncBandsToDSP();
    else if (setIn(shown.remoteBands, Target::RemoteThreshold, &SpectralBand::threshold) ||
             setIn(shown.remoteBands, Target::RemoteRatio, &SpectralBand::ratio))
        pushRemoteBandsToSHM();
    else if (isPeerKnob(target))
        setPeerControl(target, value);
    else if (isOwnKnob(target))
        applyParam(&plugin, ctrlToParam(target).param, value);
}

void EditorSession::dragCorner(double xRootPx) {
    const CornerDrag::Move step = corner.move(xRootPx);
    plugin.RememberEditorSize(step.size.width, step.size.height);
    window.resize(step.size);
    if (step.send)
        plugin.EditorResizeFromUI(step.size.width, step.size.height, true);
}

void EditorSession::release() {
    if (cornerIsDragged()) {
        const SizePx size = corner.release(window.size());
        window.resize(size);
        plugin.EditorResizeFromUI(size.width, size.height, true);
    }
    shown.dragging = Target::None;
}

void EditorSession::leave() {
    if (shown.dragging == Target::None)
        shown.hover = Target::None;
}

void EditorSession::scroll(Point at, double dy) {
    const Target target = targetAt(at, false);
    if (dy == 0.0 || !wheelActsOn(target))
        return;
    const ControlRange range = ctrlToParam(target);
    const float current = paramValue(plugin, range.param);
    applyParam(&plugin, range.param, wheeledValue(range, current, dy > 0.0));
}

} // namespace ui
