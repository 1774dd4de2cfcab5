/// What the editor needs of a window system beside pugl.
#pragma once

#include "ui/WindowSize.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace ui {

/// The host's window, the view in it, and the connection to the window system, which is the
/// editor's own: neither an error nor the end of it reaches the host. [ui]
class NativeWindow {
public:
    using Id = std::uintptr_t;

    NativeWindow() = default;
    NativeWindow(const NativeWindow&) = delete;
    NativeWindow& operator=(const NativeWindow&) = delete;
    virtual ~NativeWindow() = default;

    /// A call has found the connection broken: what is left is to abandon it.
    [[nodiscard]] virtual bool lost() const = 0;
    /// Asks whether it is; all that was sent before has been dealt with then.
    [[nodiscard]] virtual bool answers() = 0;
    /// For a connection that will not be closed. Nothing may be done with it afterwards.
    virtual void abandon() = 0;

    struct ParentState {
        SizePx size;  ///< pixels; 0 × 0 when the window cannot be asked
        bool visible; ///< it and all windows around it are shown
    };
    [[nodiscard]] virtual ParentState parent() const = 0;
    [[nodiscard]] virtual SizePx sizeOf(Id window) const = 0; ///< 0 × 0 when it cannot be asked
    virtual void resize(Id window, SizePx size) = 0;

    /// All keys go to the window until they are released, wherever the pointer is. Should it die
    /// meanwhile, the focus falls to the parent.
    virtual void grabKeyboard(Id window) = 0;
    /// Gives keys and input focus back to the parent.
    virtual void releaseKeyboard() = 0;
};

/// Right after the connection is made, which must outlive it. From here on its errors are dropped:
/// calls that wait for a reply fail instead. So do all calls once the connection is broken.
[[nodiscard]] std::unique_ptr<NativeWindow> makeNativeWindow(void* connection,
                                                             NativeWindow::Id parent);

/// While it lives, this editor alone opens or closes a connection with its input method: the
/// process keeps both in lists that have no lock. The method that opens is the window system's own;
/// any other is a process, and when that hangs, so does whoever opens it. Afterwards the choice of
/// a method is what the host has set. [ui]
class InputMethodScope {
public:
    InputMethodScope();
    ~InputMethodScope();
    InputMethodScope(const InputMethodScope&) = delete;
    InputMethodScope& operator=(const InputMethodScope&) = delete;

private:
    static inline std::mutex sInputMethods;

    const std::scoped_lock<std::mutex> lock{sInputMethods};
    std::string modifiers; ///< that choose it, as the host has set them
};

} // namespace ui
