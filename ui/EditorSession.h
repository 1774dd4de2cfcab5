/// What the editor does, without its window: the user's gestures, the registry, the peer.
#pragma once

#include "plugin/TessellaDuckwork.h"
#include "ui/ControlMap.h"
#include "ui/DrawState.h"
#include "ui/Gestures.h"
#include "ui/WindowSize.h"

#include <cstdint>

namespace ui {

/// Sets a parameter as the editor does: the value is put into the parameter's range, the instance
/// takes it, the host is told. Nothing happens without an instance or with a wrong index. Each step
/// of a drag is one change, without begin or end of a gesture. [ui]
void applyParam(TessellaDuckwork* plugin, int index, float value);

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
    EditorSession(TessellaDuckwork& instance, SessionWindow& sessionWindow)
        : plugin(instance), window(sessionWindow) {}

    /// Takes bands and name from the instance and links with the remembered peer (LocalEdits.cpp).
    void initBands();
    /// Once a frame, before events: everything that passes between editor and registry
    /// (Pairing.cpp).
    void pollAndSyncSHM();

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

    // Renaming (Pairing.cpp)

    void text(const char* utf8); ///< a text event of the keyboard
    void eraseCharacter();
    void commitName();
    void cancelName();

    [[nodiscard]] const Panel& panel() const { return shown; }
    [[nodiscard]] bool cornerIsDragged() const { return shown.dragging == Target::ResizeCorner; }

private:
    /// A drag in progress, as it began.
    struct Drag {
        Point at;
        float value = 0.0F;             ///< Hz, dB, ratio or the control's own unit
        float loHz = 0.0F, hiHz = 0.0F; ///< of the band whose body is dragged
    };

    [[nodiscard]] FilterPair localFilters() const;
    [[nodiscard]] bool peerLinked() const;
    [[nodiscard]] bool isEntry(Target target) const;
    [[nodiscard]] Target targetAt(Point at, bool dropdownOpen) const;

    // Pointer.cpp
    [[nodiscard]] bool isDoubleClick(const Press& event, Target target);
    void split(Point at);
    bool doubleClick(Target target);
    bool act(Target target, const Press& event);
    void startDrag(Target target, Point at);
    [[nodiscard]] float valueBehind(Target target) const;
    void drag(Point at, bool fine);
    void dragAcross(Target target, float right);
    void dragCorner(double xRootPx);
    void setValue(Target target, float value);
    void toggle(Target target);

    // LocalEdits.cpp
    void syncBandsToDSP();
    void sortLocalBands();
    void setFilter(Target target, float hz);

    // PeerEdits.cpp
    [[nodiscard]] TessellaDuckwork::PeerEdit readPeer() const;
    void pushRemoteBandsToSHM();
    void sortRemoteBands();
    void setPeerFilter(Target target, float hz);
    [[nodiscard]] float peerControl(Target target) const;
    void setPeerControl(Target target, float value);

    // Pairing.cpp
    void followSpectra();
    void takeOwnBands();
    void readPeerSettings();
    void refreshInstances();
    void linkRememberedPeer();
    void rememberPeer();
    void choosePeer(int entry);
    void beginName();

    TessellaDuckwork& plugin;
    SessionWindow& window;
    Panel shown;
    Drag held;
    CornerDrag corner;

    Button lastButton = Button::Other;
    Target lastTarget = Target::None;
    double lastPressTime = -1.0;

    dsp::DisplayScale localScale, remoteScale;
    int remoteMisses = 0;          ///< frames in a row without the peer's spectrum
    std::uint64_t ownBandsSeq = 0; ///< the own band group's counter as last seen or written here
    std::vector<TDInstanceInfo> listing;
    int framesToCleanup = 0;
};

} // namespace ui
