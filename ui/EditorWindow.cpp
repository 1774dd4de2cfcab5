#include "ui/EditorWindow.h"

#include "ui/ControlMap.h"
#include "ui/Draw.h"

#include <exception>

namespace ui {
namespace {

/// Buttons as pugl numbers them.
EditorSession::Button buttonOf(std::uint32_t number) {
    if (number == 0)
        return EditorSession::Button::Primary;
    return number == 1 ? EditorSession::Button::Secondary : EditorSession::Button::Other;
}

PuglCursor cursorOf(PointerShape shape) {
    switch (shape) {
    case PointerShape::Across:
        return PUGL_CURSOR_LEFT_RIGHT;
    case PointerShape::Up:
        return PUGL_CURSOR_UP_DOWN;
    case PointerShape::Hand:
        return PUGL_CURSOR_HAND;
    case PointerShape::Text:
        return PUGL_CURSOR_CARET;
    case PointerShape::Arrow:
        break;
    }
    return PUGL_CURSOR_ARROW;
}

/// A host that queues requests has so long to resize its window: half a second.
constexpr int kFramesToAnswer = 30;
/// For so long a host may take the focus back from a view that has just asked for it.
constexpr double kFocusSettlesSeconds = 0.3;

bool empty(SizePx size) { return size.width < 1 || size.height < 1; }

} // namespace

EditorWindow::EditorWindow(EditorAccess& access, NativeWindow::Id parent, SizePx initialSize)
    : instance(access), session(access, *this) {
    if (createView(parent, initialSize))
        session.initBands();
    else
        destroyView();
}

EditorWindow::~EditorWindow() {
    if (opened() && native->answers())
        releaseKeyboard(); // a dying window must not take the host's keys with it
    destroyView();
}

bool EditorWindow::createView(NativeWindow::Id parent, SizePx initialSize) {
    {
        const InputMethodScope scope;
        world = puglNewWorld(PUGL_MODULE, PUGL_WORLD_THREADS);
        if (world == nullptr)
            return false;
        native = makeNativeWindow(puglGetNativeWorld(world), parent);
    }
    puglSetWorldString(world, PUGL_CLASS_NAME, "TessellaDuckwork");
    view = puglNewView(world);
    if (view == nullptr)
        return false;
    puglSetHandle(view, this);
    puglSetEventFunc(view, onEvent);
    puglSetBackend(view, puglGlBackend());
    puglSetViewHint(view, PUGL_CONTEXT_VERSION_MAJOR, 2);
    puglSetViewHint(view, PUGL_CONTEXT_VERSION_MINOR, 1);
    puglSetViewHint(view, PUGL_CONTEXT_PROFILE, PUGL_OPENGL_COMPATIBILITY_PROFILE);
    puglSetViewHint(view, PUGL_DOUBLE_BUFFER, PUGL_TRUE);
    puglSetViewHint(view, PUGL_STENCIL_BITS, 8);
    // Else the view tells that its size is fixed, and hosts pass that on to their window's frame.
    puglSetViewHint(view, PUGL_RESIZABLE, PUGL_TRUE);
    puglSetParent(view, parent);
    puglSetSizeHint(view, PUGL_DEFAULT_SIZE, static_cast<PuglSpan>(initialSize.width),
                    static_cast<PuglSpan>(initialSize.height));
    windowSize = initialSize;
    return puglRealize(view) == PUGL_SUCCESS && puglShow(view, PUGL_SHOW_PASSIVE) == PUGL_SUCCESS;
}

/// Deliberate: a lost connection's view and world are left where they are. Freeing them makes GL
/// ask for the window's size, and without an answer it allocates whatever memory that may be.
void EditorWindow::destroyView() {
    if (lost()) {
        native->abandon();
        return;
    }
    if (view != nullptr)
        puglFreeView(view);
    if (world != nullptr) {
        const InputMethodScope scope;
        puglFreeWorld(world);
    }
    view = nullptr;
    world = nullptr;
}

bool EditorWindow::frame(const Meters& newMeters) {
    meters = newMeters;
    state.reset();
    session.passTime(puglGetTime(world));
    session.pollAndSyncSHM();
    const NativeWindow::ParentState parent = native->parent();
    if (lost()) // and if so, nothing for GL
        return false;
    puglUpdate(world, 0.0);
    tendKeyboard();
    const bool visible = parent.visible && !empty(windowSize);
    if (visible)
        redrawIfChanged();
    if (!session.cornerIsDragged() && !empty(parent.size))
        followParent(parent.size);
    return visible;
}

/// Most of a frame goes into drawing, which a picture that stands still does not need. The window
/// system asks by itself for what has been covered or has a new size.
void EditorWindow::redrawIfChanged() {
    if (snapshot() == shownState && session.panel() == shownPanel)
        return;
    puglObscureView(view);
    if (native->answers()) // by then, the event that this has sent has come back
        puglUpdate(world, 0.0);
}

/// The host resizes only its own window; the view follows by itself. When the host has not done
/// what a drag of the corner has asked for, it comes back: its corner may be out of reach.
void EditorWindow::followParent(SizePx parent) {
    const bool unanswered = framesToAnswer > 0 && --framesToAnswer == 0;
    if ((parent != lastParent || unanswered) && native->sizeOf(puglGetNativeView(view)) != parent) {
        windowSize = parent;
        native->resize(puglGetNativeView(view), parent);
        if (unanswered)
            instance.NoteHostWindowSize(parent.width, parent.height);
    }
    lastParent = parent;
    followHost(parent);
}

/// Asks the host for a size with the right aspect once it has come to rest.
void EditorWindow::followHost(SizePx parent) {
    const auto request = follower.externalSizeTick(
        parent, {instance.RememberedEditorWidth(), instance.RememberedEditorHeight()});
    if (!request)
        return;
    if (request->remember)
        instance.RememberEditorSize(request->wanted.width, request->wanted.height);
    instance.NoteHostWindowSize(request->reported.width, request->reported.height);
    instance.ResizeHostWindow(request->wanted.width, request->wanted.height);
}

void EditorWindow::grabKeyboard() {
    keyboard = Keyboard{.since = puglGetTime(world)};
    takeFocus();
    keyboard->grabbed = native->grabKeyboard(puglGetNativeView(view));
}

void EditorWindow::releaseKeyboard() {
    if (keyboard)
        native->releaseKeyboard(puglGetNativeView(view));
    keyboard.reset();
}

void EditorWindow::takeFocus() {
    puglGrabFocus(view);
    native->takeFocus(puglGetNativeView(view)); // pugl lets it fall to nobody
}

/// While a name is typed, each frame looks who has the focus (pugl keeps those events to itself):
/// with the keyboard grabbed, what the user types elsewhere would go into the name, and to everyone
/// who sees it.
///
/// A host or a window manager may take the focus back from a view at once, which is no wish of the
/// user. For a moment, then, it is asked for again; if it has never stayed with the view, the grab
/// alone has to do, as long as the focus stays within the host's window.
void EditorWindow::tendKeyboard() {
    using Focus = NativeWindow::Focus;
    if (!keyboard)
        return;
    const Focus focus = native->focus(puglGetNativeView(view));
    const bool settled = puglGetTime(world) - keyboard->since >= kFocusSettlesSeconds;
    if (focus == Focus::Elsewhere || (focus == Focus::Host && keyboard->focusHeld)) {
        session.commitName();
        return;
    }
    if (focus == Focus::View && settled)
        keyboard->focusHeld = true;
    if (focus == Focus::Host && !settled)
        takeFocus();
    if (!keyboard->grabbed)
        keyboard->grabbed = native->grabKeyboard(puglGetNativeView(view));
}

void EditorWindow::resize(SizePx size) {
    follower.noteRequest(size);
    framesToAnswer = kFramesToAnswer;
    puglSetSizeHint(view, PUGL_CURRENT_SIZE, static_cast<PuglSpan>(size.width),
                    static_cast<PuglSpan>(size.height));
}

/// The C side. An event that fails is dropped: the next frame shows what there is.
PuglStatus EditorWindow::onEvent(PuglView* view, const PuglEvent* event) noexcept {
    auto* const window = static_cast<EditorWindow*>(puglGetHandle(view));
    if (window == nullptr)
        return PUGL_SUCCESS;
    try {
        window->dispatch(*event);
    } catch (const std::exception&) {
    }
    return PUGL_SUCCESS;
}

void EditorWindow::dispatch(const PuglEvent& event) {
    switch (event.type) {
    case PUGL_REALIZE:
        graphics.create();
        break;
    case PUGL_UNREALIZE:
        graphics.destroy();
        break;
    case PUGL_CONFIGURE:
        onConfigure({event.configure.width, event.configure.height});
        break;
    case PUGL_EXPOSE:
        draw();
        break;
    case PUGL_BUTTON_PRESS:
        onButton(event.button);
        break;
    case PUGL_BUTTON_RELEASE:
        session.release();
        break;
    case PUGL_MOTION:
        session.move(fit.toCanvas(event.motion.x, event.motion.y), event.motion.xRoot,
                     (event.motion.state & PUGL_MOD_SHIFT) != 0);
        showPointer();
        break;
    case PUGL_POINTER_OUT:
        session.leave();
        break;
    case PUGL_SCROLL:
        session.scroll(fit.toCanvas(event.scroll.x, event.scroll.y), event.scroll.dy);
        break;
    case PUGL_KEY_PRESS:
        onKey(event.key);
        break;
    case PUGL_TEXT:
        session.text(event.text.string);
        break;
    default:
        break;
    }
}

void EditorWindow::onConfigure(SizePx size) {
    if (empty(size))
        return;
    windowSize = size;
    fit = CanvasFit::of(static_cast<float>(size.width), static_cast<float>(size.height));
    if (!session.cornerIsDragged())
        instance.NoteEditorSize(size.width, size.height);
}

void EditorWindow::onButton(const PuglButtonEvent& event) {
    session.press({.at = fit.toCanvas(event.x, event.y),
                   .xRootPx = event.xRoot,
                   .button = buttonOf(event.button),
                   .time = event.time});
}

void EditorWindow::onKey(const PuglKeyEvent& event) {
    if (event.key == PUGL_KEY_BACKSPACE)
        session.eraseCharacter();
    if (event.key == PUGL_KEY_ENTER || event.key == PUGL_KEY_PAD_ENTER)
        session.commitName();
    if (event.key == PUGL_KEY_ESCAPE)
        session.cancelName();
}

void EditorWindow::showPointer() {
    const PointerShape wanted = pointerShapeOver(hotIn(session.panel()).part);
    if (wanted != pointerShape)
        puglSetCursor(view, cursorOf(wanted));
    pointerShape = wanted;
}

/// Taken after the frame's events, by whichever comes first: the look for changes or a draw.
const DrawState& EditorWindow::snapshot() {
    if (!state)
        fillDrawState(state.emplace(), &instance, session.panel().view, meters);
    return *state;
}

SizePx EditorWindow::drawnSize() const {
    const PuglArea area = puglGetSizeHint(view, PUGL_CURRENT_SIZE);
    const double scale = puglGetScaleFactor(view);
    const auto orDesign = [scale](int px, int design) {
        return px != 0 ? px : static_cast<int>(scale * design);
    };
    return {orDesign(area.width, editor::kDesignSize.width),
            orDesign(area.height, editor::kDesignSize.height)};
}

void EditorWindow::draw() {
    if (!graphics.ready())
        return;
    const SizePx size = drawnSize();
    fit = graphics.beginFrame(size.width, size.height);
    drawUI(graphics.tools(), snapshot(), session.panel());
    graphics.endFrame();
    shownState = snapshot();
    shownPanel = session.panel();
}

} // namespace ui
