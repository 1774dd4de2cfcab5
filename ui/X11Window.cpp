// The window system X11; the only user of Xlib but pugl itself.
#include "adapter/WindowApi.h"
#include "ui/NativeWindow.h"
#include "ui/PuglCompat.h"

#include <atomic>
#include <cstdlib>
#include <string_view>

#include <X11/Xlib.h>
#include <X11/extensions/XShm.h>

#include <X11/Xlibint.h> // last: its macros min and max break other headers

namespace ui {
namespace {

/// Keeps the editor's own X connection from ending the host's process. [ui]
///
/// Xlib's handlers are process-wide and end the process, and they belong to the host; so errors are
/// stopped before they reach them. A host that destroys the parent window first makes the next
/// request of the editor fail.
class X11Window final : public NativeWindow {
public:
    X11Window(Display* connection, Id parentWindow);

    [[nodiscard]] bool lost() const override {
        return connectionLost.load(std::memory_order_relaxed);
    }
    [[nodiscard]] bool answers() override;
    void abandon() override;
    [[nodiscard]] ParentState parent() const override;
    [[nodiscard]] SizePx sizeOf(Id window) const override;
    void resize(Id window, SizePx size) override;
    void takeFocus(Id view) override;
    [[nodiscard]] bool grabKeyboard(Id view) override;
    void releaseKeyboard(Id view) override;
    [[nodiscard]] Focus focus(Id view) const override;

private:
    [[nodiscard]] Id focused() const;
    [[nodiscard]] Id topLevelOf(Id window) const;
    static void onUnlock(Display* broken);
    static int onBroken(Display* broken);
    static void afterBroken(Display* broken, void* window);
    void makeHarmless();

    Display* const display;
    const Id parentId;
    char* const requestsEnd; ///< of Xlib's buffer for requests
    std::atomic<bool> connectionLost = false;
};

using Unlock = void (*)(Display*);

std::atomic<Unlock> sXlibUnlock = nullptr; ///< one for all connections
std::mutex sBreaking;                      ///< held while the host's handler is exchanged
std::atomic<XIOErrorHandler> sHostHandler = nullptr;

/// False: the error is dropped and the host's handler never sees it.
Bool dropError(Display*, XErrorEvent*, xError*) { return False; }

/// The same for one that comes in the place of a reply. GL asks for the size of its window and does
/// not look whether it gets one: of a window that has gone it is 0 × 0, as Xlib reads the error.
Bool dropReplyError(Display*, xError* error, XExtCodes*, int* gotReply) {
    *gotReply = error->majorCode == X_GetGeometry ? 1 : 0;
    return True;
}

X11Window::X11Window(Display* connection, Id parentWindow)
    : display(connection), parentId(parentWindow), requestsEnd(display->bufmax) {
    constexpr int kMaxErrorCode = 255;
    for (int code = 1; code <= kMaxErrorCode; ++code)
        XESetWireToError(display, code, dropError);
    if (const XExtCodes* const own = XAddExtension(display); own != nullptr)
        XESetError(display, own->extension, dropReplyError);
    XSetIOErrorExitHandler(display, afterBroken, this);
    if (display->lock_fns != nullptr) { // null: an Xlib without threads
        sXlibUnlock = display->lock_fns->unlock_display;
        display->lock_fns->unlock_display = onUnlock;
    }
    // Not left to GL's first frame: it enters the connection into lists of the process that have no
    // lock, and that are damaged when the connection breaks just then.
    XShmQueryExtension(display);
}

// When a connection breaks, Xlib calls the one I/O error handler of the process, and only then what
// the connection has of its own. That handler is the host's, and by default it exits. But directly
// before, Xlib sets a flag and unlocks the display, which is a function of the connection: from
// there until afterBroken the host's handler is exchanged.
void X11Window::onUnlock(Display* broken) {
    const bool breaking = (broken->flags & XlibDisplayIOError) != 0;
    if (breaking)
        static_cast<X11Window*>(broken->exit_handler_data)->makeHarmless();
    sXlibUnlock.load()(broken);
    if (!breaking)
        return;
    sBreaking.lock();
    sHostHandler = XSetIOErrorHandler(onBroken);
}

int X11Window::onBroken(Display* broken) {
    const bool own = broken->lock_fns != nullptr && broken->lock_fns->unlock_display == onUnlock;
    return own ? 0 : sHostHandler.load()(broken);
}

void X11Window::afterBroken(Display* broken, void*) {
    const XIOErrorHandler last = XSetIOErrorHandler(sHostHandler);
    if (last != onBroken)
        XSetIOErrorHandler(last); // the host has set another meanwhile
    sBreaking.unlock();
    // Xlib expects no return: it has taken its user's lock, and given up its own.
    XUnlockDisplay(broken);
    LockDisplay(broken);
}

/// What is still called on the connection, by GL in the middle of a frame, has to fail in peace.
/// With the flag standing it would not: Xlib then has no room for requests, and writes to null.
void X11Window::makeHarmless() {
    connectionLost.store(true, std::memory_order_relaxed);
    display->flags = display->flags & ~static_cast<unsigned long>(XlibDisplayIOError);
    display->bufptr = display->buffer;
    display->bufmax = requestsEnd;
}

bool X11Window::answers() {
    XSync(display, False);
    return !lost();
}

void X11Window::abandon() {
    if (display->lock_fns != nullptr)
        display->lock_fns->unlock_display = sXlibUnlock;
}

X11Window::ParentState X11Window::parent() const {
    XWindowAttributes attributes;
    if (XGetWindowAttributes(display, parentId, &attributes) == 0)
        return {.size = {}, .visible = false};
    return {.size = {attributes.width, attributes.height},
            .visible = attributes.map_state == IsViewable};
}

SizePx X11Window::sizeOf(Id window) const {
    Window root = 0;
    int x = 0;
    int y = 0;
    unsigned width = 0;
    unsigned height = 0;
    unsigned border = 0;
    unsigned depth = 0;
    if (XGetGeometry(display, window, &root, &x, &y, &width, &height, &border, &depth) == 0)
        return {};
    return {static_cast<int>(width), static_cast<int>(height)};
}

void X11Window::resize(Id window, SizePx size) {
    XResizeWindow(display, window, static_cast<unsigned>(size.width),
                  static_cast<unsigned>(size.height));
    XFlush(display);
}

void X11Window::takeFocus(Id view) {
    XSetInputFocus(display, view, RevertToParent, CurrentTime);
    XFlush(display);
}

bool X11Window::grabKeyboard(Id view) {
    return XGrabKeyboard(display, view, True, GrabModeAsync, GrabModeAsync, CurrentTime) ==
           GrabSuccess;
}

// Without the focus given back it would be nowhere once the editor's window is gone.
void X11Window::releaseKeyboard(Id view) {
    XUngrabKeyboard(display, CurrentTime);
    if (focused() == view)
        XSetInputFocus(display, parentId, RevertToParent, CurrentTime);
    XFlush(display);
}

NativeWindow::Focus X11Window::focus(Id view) const {
    const Id holder = focused();
    if (holder == view)
        return Focus::View;
    const Id top = topLevelOf(holder);
    return top != None && top == topLevelOf(parentId) ? Focus::Host : Focus::Elsewhere;
}

NativeWindow::Id X11Window::focused() const {
    Window holder = None;
    int revertTo = 0;
    XGetInputFocus(display, &holder, &revertTo);
    return holder;
}

/// The root's child that the window lies in, a window manager's frame for example; none of what is
/// no window.
NativeWindow::Id X11Window::topLevelOf(Id window) const {
    Window root = None;
    Window above = None;
    Window* children = nullptr;
    unsigned count = 0;
    while (XQueryTree(display, window, &root, &above, &children, &count) != 0) {
        if (children != nullptr)
            XFree(children);
        if (above == root || above == None)
            return window;
        window = above;
    }
    return None;
}

} // namespace

std::unique_ptr<NativeWindow> makeNativeWindow(void* connection, NativeWindow::Id parent) {
    static_assert(std::string_view(editor::kWindowApi) == "x11", "what hosts are offered");
    return std::make_unique<X11Window>(static_cast<Display*>(connection), parent);
}

// Xlib appends the user's modifiers to whatever is set: without them it is what the host has set.
InputMethodScope::InputMethodScope() {
    const char* const now = XSetLocaleModifiers(nullptr);
    modifiers = now != nullptr ? now : "";
    const char* const variable = std::getenv("XMODIFIERS");
    const std::string_view users = variable != nullptr ? variable : "";
    if (modifiers.ends_with(users))
        modifiers.resize(modifiers.size() - users.size());
    XSetLocaleModifiers("@im=none");
}

InputMethodScope::~InputMethodScope() { XSetLocaleModifiers(modifiers.c_str()); }

} // namespace ui

#ifndef PUGL_NUM_STRING_HINTS

// This generation's own puglShow raises the window above its siblings.
PuglStatus puglShow(PuglView* view, PuglShowCommand) {
    if (puglGetNativeView(view) == 0) {
        const PuglStatus status = puglRealize(view);
        if (status != PUGL_SUCCESS)
            return status;
    }
    auto* const display = static_cast<Display*>(puglGetNativeWorld(puglGetWorld(view)));
    XMapWindow(display, puglGetNativeView(view));
    return puglPostRedisplay(view);
}

#endif
