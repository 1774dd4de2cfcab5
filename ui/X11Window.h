/// What the editor does to X windows beside pugl; the only user of Xlib but pugl itself.
#pragma once

#include "ui/WindowSize.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

struct _XDisplay; // NOLINT(bugprone-reserved-identifier): Xlib's own name for its connection

namespace ui {

/// Keeps the editor's own X connection from ending the host's process. [ui]
///
/// Xlib's handlers are process-wide and end the process, and they belong to the host; so errors are
/// stopped before they reach them. A host that destroys the parent window first makes the next
/// request of the editor fail.
class X11Window {
public:
    using Id = std::uintptr_t;

    /// Right after the connection is made; must outlive it. From here on its errors are dropped:
    /// calls that wait for a reply fail instead. So do all calls once the connection is broken.
    X11Window(void* xDisplay, Id parentWindow);
    X11Window(const X11Window&) = delete;
    X11Window& operator=(const X11Window&) = delete;

    /// A call has found the connection broken: what is left is to abandon it.
    [[nodiscard]] bool lost() const { return connectionLost.load(std::memory_order_relaxed); }
    /// Asks whether it is.
    [[nodiscard]] bool answers();
    /// For a connection that will not be closed. Nothing may be done with it afterwards.
    void abandon();

    struct ParentState {
        SizePx size;  ///< pixels; 0 × 0 when the window cannot be asked
        bool visible; ///< it and all windows around it are mapped
    };
    [[nodiscard]] ParentState parent() const;
    [[nodiscard]] SizePx sizeOf(Id window) const; ///< 0 × 0 when it cannot be asked
    void resize(Id window, SizePx size);

    /// All keys go to the window until they are released, wherever the pointer is. Should it die
    /// meanwhile, the focus falls to the parent.
    void grabKeyboard(Id window);
    /// Gives keys and input focus back to the parent.
    void releaseKeyboard();

private:
    static void onUnlock(_XDisplay* broken);
    static int onBroken(_XDisplay* broken);
    static void afterBroken(_XDisplay* broken, void* window);
    void makeHarmless();

    _XDisplay* const display;
    const Id parentId;
    char* const requestsEnd; ///< of Xlib's buffer for requests
    std::atomic<bool> connectionLost = false;
};

/// While it lives, this editor alone opens or closes a connection with its input method: Xlib keeps
/// both in lists of the process that have no lock. The method that opens is Xlib's own; any other
/// is a process, and when that hangs, so does whoever opens it. Afterwards Xlib's locale modifiers,
/// which choose the method, are what the host has set. [ui]
class InputMethodScope {
public:
    InputMethodScope();
    ~InputMethodScope();
    InputMethodScope(const InputMethodScope&) = delete;
    InputMethodScope& operator=(const InputMethodScope&) = delete;

private:
    static inline std::mutex sInputMethods;

    const std::scoped_lock<std::mutex> lock{sInputMethods};
    std::string modifiers; ///< the host's
};

} // namespace ui
