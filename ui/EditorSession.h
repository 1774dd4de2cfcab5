/// What the editor does, without its window: the user's gestures, the registry, the peer.
#pragma once

#include "ui/DrawState.h"
#include "ui/EditedTrack.h"
#include "ui/WindowSize.h"

#include <cstdint>
#include <optional>

namespace ui {

/// What a session asks of its window. [ui]
class SessionWindow {
public:
    SessionWindow() = default;
    SessionWindow(const SessionWindow&) = delete;
    SessionWindow& operator=(const SessionWindow&) = delete;
    virtual ~SessionWindow() = default;

    virtual void grabKeyboard() = 0;
    virtual void releaseKeyboard() = 0; ///< harmless without a grab
    [[nodiscard]] virtual SizePx size() const = 0;
    virtual void resize(SizePx size) = 0;
};

/// One opening of the editor. Holds all interaction state and belongs to the editor's thread alone,
/// so that it needs no lock and holds none when it calls the host. [ui]
class EditorSession {
public:
    /// Both must outlive it.
    EditorSession(EditorAccess& access, SessionWindow& sessionWindow)
        : instance(access), window(sessionWindow) {}

    // RegistrySync.cpp

    /// Takes bands and name from the instance and links with the remembered peer.
    void initBands();
    /// Once a frame, before events: everything that passes between editor and registry.
    void pollAndSyncSHM();

    /// Once a frame, before events: what is shown for a time only.
    void passTime(double seconds);

    // Gestures (Pointer.cpp), positions in canvas units

    enum class Button { Primary, Secondary, Other };
    struct Press {
        Point at;
        double xRootPx; ///< on the screen
        Button button;
        double time; ///< seconds
    };
    void press(const Press& event);
    /// `fine`: Shift is held.
    void move(Point at, double xRootPx, bool fine);
    void release();
    void leave(); ///< the pointer has left the window
    void scroll(Point at, double dy);

    // Renaming (RegistrySync.cpp)

    void text(const char* utf8); ///< a text event of the keyboard
    void eraseCharacter();
    void commitName();
    void cancelName();

    [[nodiscard]] const Panel& panel() const { return shown; }
    [[nodiscard]] bool cornerIsDragged() const { return shown.dragging == Target::ResizeCorner; }

private:
    [[nodiscard]] EditedTrack& trackOf(Side side) { return side == Side::Local ? own : peer; }

    // Pointer.cpp
    [[nodiscard]] HitScene scene() const;
    [[nodiscard]] bool isDoubleClick(const Press& event, Target target);
    void split(Point at);
    bool doubleClick(const Hit& hit);
    bool act(const Hit& hit, const Press& event);
    void startDrag(Target target, const Hit& hit, Point at);
    void drag(Point at, bool fine);
    void dragCorner(double xRootPx);

    // RegistrySync.cpp
    void followOwnSpectrum();
    void followPeerSpectrum(const PeerSpectrum& spectrum);
    void choosePeer(int entry);
    void beginName();

    EditorAccess& instance;
    SessionWindow& window;
    Panel shown;
    EditedTrack own{Side::Local, instance, shown.view.own};
    EditedTrack peer{Side::Remote, instance, shown.view.peer};
    Held held; ///< what is being dragged
    Point pressedAt;
    CornerDrag corner;

    double now = 0.0;        ///< of this frame, seconds
    double refusedAt = -1.0; ///< when a character could not be taken into the name
    double restsSince = 0.0; ///< the pointer, where it is

    Button lastButton = Button::Other;
    Target lastTarget = Target::None;
    double lastPressTime = -1.0;

    dsp::DisplayScale localScale, remoteScale;
    int remoteMisses = 0;                     ///< frames in a row without the peer's spectrum
    std::optional<std::uint64_t> ownBandsSeq; ///< of the own bands that are shown
};

} // namespace ui
