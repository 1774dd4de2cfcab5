/// The editor's window: pugl's world and view, their events, and the drawing of a frame.
#pragma once

#include "ui/EditorSession.h"
#include "ui/Graphics.h"
#include "ui/NativeWindow.h"
#include "ui/PuglCompat.h"

#include <memory>
#include <optional>

namespace ui {

/// A view inside the host's window. Made, used and destroyed on the editor's own thread; owns its
/// connection, its GL context and all that is drawn with it. [ui]
class EditorWindow final : private SessionWindow {
public:
    /// Opens the view. opened() tells whether that worked; without it, only the destructor is left.
    EditorWindow(EditorAccess& access, NativeWindow::Id parent, SizePx initialSize);
    ~EditorWindow() override;

    [[nodiscard]] bool opened() const { return view != nullptr; }

    /// One frame: registry, events, and a redraw if anything that can be seen has changed. Says
    /// whether anything can be seen.
    bool frame(const Meters& meters);
    /// The connection to the window system is broken: no frame is of use any more.
    [[nodiscard]] bool lost() const { return native && native->lost(); }

private:
    void grabKeyboard() override;
    void releaseKeyboard() override;
    [[nodiscard]] SizePx size() const override { return windowSize; }
    void resize(SizePx size) override;

    bool createView(NativeWindow::Id parent, SizePx initialSize);
    void destroyView();

    static PuglStatus onEvent(PuglView* view, const PuglEvent* event) noexcept;
    void dispatch(const PuglEvent& event);
    void onConfigure(SizePx size);
    void onButton(const PuglButtonEvent& event);
    void onKey(const PuglKeyEvent& event);
    void takeFocus();
    void tendKeyboard();
    void showPointer();
    void draw();
    void redrawIfChanged();
    const DrawState& snapshot();
    [[nodiscard]] SizePx drawnSize() const;

    void followParent(SizePx parent);
    void followHost(SizePx parent);

    struct Keyboard {
        double since;           ///< when it was asked for, seconds
        bool grabbed = false;   ///< all keys come to the view, wherever the focus is
        bool focusHeld = false; ///< the focus has stayed with the view
    };

    EditorAccess& instance;
    EditorSession session;
    PuglWorld* world = nullptr;
    PuglView* view = nullptr; ///< null: there is no window
    std::unique_ptr<NativeWindow> native;
    Graphics graphics;
    CanvasFit fit;
    SizePx windowSize; ///< of the view
    SizePx lastParent;
    HostSizeFollower follower;
    int framesToAnswer = 0;           ///< left to the host to follow a drag of the corner
    std::optional<Keyboard> keyboard; ///< while a name is typed
    PointerShape pointerShape = PointerShape::Arrow;
    Meters meters;
    std::optional<DrawState> state; ///< of this frame, once it has been asked for
    DrawState shownState;           ///< what the window shows
    Panel shownPanel;
};

} // namespace ui
