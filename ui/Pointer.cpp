// Presses, drags and the wheel: from a gesture to the edit that it means.
#include "ui/ControlMap.h"
#include "ui/EditorSession.h"

namespace ui {
namespace {

constexpr double kDoubleClickSeconds = 0.35;
constexpr double kTooltipSeconds = 0.6; ///< of rest
constexpr double kRefusalSeconds = 0.25;

} // namespace

HitScene EditorSession::scene() const {
    return {.local = {own.filters(), shown.view.own.bands},
            .remote = {peer.filters(), shown.view.peer.bands},
            .peerLinked = shown.peerLinked(),
            .dropdownOpen = shown.dropdownOpen,
            .entries = static_cast<int>(shown.view.instances.size())};
}

void EditorSession::passTime(double seconds) {
    now = seconds;
    shown.nameRefuses = shown.nameEdit.editing() && now - refusedAt < kRefusalSeconds;
    shown.tooltip = !shown.nameEdit.editing() && shown.dragging == Target::None &&
                    now - restsSince >= kTooltipSeconds;
}

void EditorSession::press(const Press& event) {
    const Target target = hitTest(event.at, scene());
    restsSince = now;
    const bool onList = isOnList(event.at, scene());
    const Hit hit = hitOf(target);
    const bool twice = isDoubleClick(event, target);
    if (hit.part != Part::Dropdown && !onList)
        shown.dropdownOpen = false;
    if (hit.part != Part::Name) {
        commitName();
        window.releaseKeyboard();
    }
    shown.dragging = Target::None;
    if (event.button == Button::Secondary && !onList)
        split(event.at);
    if (event.button != Button::Primary)
        return;
    if (!(twice && doubleClick(hit)) && !act(hit, event))
        startDrag(target, hit, event.at);
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
    if (kLocalAnalyzer.contains(at))
        own.split(hzAt(at.x));
    if (kRemoteAnalyzer.contains(at) && shown.peerLinked())
        peer.split(hzAt(at.x));
}

/// False when a second click on the part is nothing special.
bool EditorSession::doubleClick(const Hit& hit) {
    EditedTrack& track = trackOf(hit.side);
    if (hit.part == Part::Edge)
        return track.merge(hit.index);
    if (hit.part == Part::Body)
        return track.toggle(hit.index);
    if (dragsUp(hit.part))
        track.set(hit, defaultOf(hit));
    return dragsUp(hit.part);
}

/// What acts on the press itself. False for all that is dragged.
bool EditorSession::act(const Hit& hit, const Press& event) {
    switch (hit.part) {
    case Part::None:
        return true;
    case Part::Name:
        beginName();
        return true;
    case Part::Dropdown:
        shown.dropdownOpen = !shown.dropdownOpen;
        return true;
    case Part::Entry:
        choosePeer(hit.index);
        return true;
    case Part::Bypass:
        trackOf(hit.side).toggleBypass();
        return true;
    case Part::Duck:
        trackOf(hit.side).toggleDuck();
        return true;
    case Part::ResizeCorner:
        corner.press(event.xRootPx, window.size());
        shown.dragging = Target::ResizeCorner;
        return true;
    default:
        return false;
    }
}

void EditorSession::startDrag(Target target, const Hit& hit, Point at) {
    shown.dragging = target;
    held = trackOf(hit.side).hold(hit);
    pressedAt = at;
}

void EditorSession::move(Point at, double xRootPx, bool fine) {
    if (at != shown.pointer)
        restsSince = now;
    shown.pointer = at;
    if (cornerIsDragged())
        dragCorner(xRootPx);
    else if (shown.dragging != Target::None)
        drag(at, fine);
    shown.hover = hitTest(at, scene());
}

/// Along the frequency axis or up and down.
void EditorSession::drag(Point at, bool fine) {
    EditedTrack& track = trackOf(held.hit.side);
    if (dragsAcross(held.hit.part))
        track.move(held, draggedHz(held.value, at.x - pressedAt.x));
    else
        track.set(held.hit,
                  draggedValue(ctrlToParam(held.hit), held.value, pressedAt.y - at.y, fine));
}

void EditorSession::dragCorner(double xRootPx) {
    const CornerDrag::Move step = corner.move(xRootPx);
    instance.RememberEditorSize(step.size.width, step.size.height);
    window.resize(step.size);
    if (step.send)
        instance.ResizeHostWindow(step.size.width, step.size.height);
}

void EditorSession::release() {
    if (cornerIsDragged()) {
        const SizePx size = corner.release(window.size());
        window.resize(size);
        instance.ResizeHostWindow(size.width, size.height);
    }
    shown.dragging = Target::None;
}

void EditorSession::leave() {
    if (shown.dragging == Target::None)
        shown.hover = Target::None;
}

void EditorSession::scroll(Point at, double dy) {
    const Hit hit = hitOf(hitTest(at, scene()));
    if (dy == 0.0 || !wheelActsOn(hit))
        return;
    const ControlRange range = ctrlToParam(hit);
    const float current = paramValue(instance, range.param);
    applyParam(&instance, range.param, wheeledValue(range, current, dy > 0.0));
}

} // namespace ui
