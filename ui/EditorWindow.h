/// The editor's window: pugl's world and view, their events, and the drawing of a frame.
#pragma once

#include "ui/EditorSession.h"
#include "ui/Graphics.h"
#include "ui/PuglCompat.h"
#include "ui/X11Window.h"

#include <memory>
#include <optional>

namespace ui {

/// The meters as the audio thread last handed them over.
struct Meters {
    ThreeFloats ownLevelDb{}, peerLevelDb{}, reductionDb{};
};

/// A view inside the host's window. Made, used and destroyed on the editor's own thread; owns its
/// X connection, its GL context and all that is drawn with it. [ui]
class EditorWindow final : private SessionWindow {
public:
    /// Opens the view. opened() tells whether that worked; without it, only the destructor is left.
    EditorWindow(TessellaDuckwork& instance, X11Window::Id parent, SizePx initialSize);
    ~EditorWindow() override;

    [[nodiscard]] bool opened() const { return view != nullptr; }

    /// One frame: registry, events, and a redraw if anything that can be seen has changed. Says
    /// whether anything can be seen.
    bool frame(const Meters& meters);
    /// The X server is gone or has thrown this client out: no frame is of use any more.
    [[nodiscard]] bool lost() const { return x11 && x11->lost(); }

private:
    void grabKeyboard() override;
    void releaseKeyboard() override;
    [[nodiscard]] SizePx size() const override { return windowSize; }
    void resize(SizePx size) override;

    bool createView(X11Window::Id parent, SizePx initialSize);
    void destroyView();

    static PuglStatus onEvent(PuglView* view, const PuglEvent* event) noexcept;
    void dispatch(const PuglEvent& event);
    void onConfigure(SizePx size);
    void onButton(const PuglButtonEvent& event);
    void onKey(const PuglKeyEvent& event);
    void showPointer();
    void draw();
    void redrawIfChanged();
    void fillState();
    [[nodiscard]] SizePx drawnSize() const;

    void followParent(SizePx parent);
    void followHost(SizePx parent);

    TessellaDuckwork& plugin;
    EditorSession session;
    PuglWorld* world = nullptr;
    PuglView* view = nullptr; ///< null: there is no window
    std::optional<X11Window> x11;
    Graphics graphics;
    CanvasFit fit;
    SizePx windowSize; ///< of the view
    SizePx lastParent;
    HostSizeFollower follower;
    bool keyboardGrabbed = false;
    PointerShape pointerShape = PointerShape::Arrow;
    Meters meters;
    DrawState state;
    DrawState shownState; ///< what the window shows
    Panel shownPanel;
};

} // namespace ui
