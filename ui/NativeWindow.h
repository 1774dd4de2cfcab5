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

    /// Asks for the input focus. Should the view die with it, it falls to the parent.
    virtual void takeFocus(Id view) = 0;
    /// All keys go to the view until they are released, wherever focus and pointer are. False when
    /// somebody else has grabbed them.
    [[nodiscard]] virtual bool grabKeyboard(Id view) = 0;
    /// Lets go of the keys, and of the focus, to the parent, if the view still has it.
    virtual void releaseKeyboard(Id view) = 0;

    /// Who has the input focus: `Host` is any other window of the parent's top-level window.
    enum class Focus { View, Host, Elsewhere };
    [[nodiscard]] virtual Focus focus(Id view) const = 0;
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
