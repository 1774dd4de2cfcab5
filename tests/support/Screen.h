/// A screen that nobody sees, with a user's hand and eye: real X events, real pixels.
#pragma once

#include "plugin/StateChunk.h"
#include "tests/support/Eventually.h"
#include "tests/support/Track.h"
#include "ui/Canvas.h"

#include <atomic>
#include <cstdio>
#include <string>
#include <sys/types.h>
#include <utility>

struct _XDisplay; // NOLINT(bugprone-reserved-identifier): Xlib's own name for its connection

namespace support {

/// Editors fill no pixels while this is on (NoDrawing.cpp). Before the first editor.
extern bool sDrawsNothing;
extern std::atomic<int> sFramesDrawn; ///< while it is on

/// An X server of 1920 × 1200 for this process and its children, and the environment that makes
/// editors draw the same everywhere: one font, one rasteriser. Before the first editor, and before
/// the process has threads.
class XServer {
public:
    enum class Drawing {
        Nothing, ///< all but the pixels: full frame rate on any machine
        Software ///< slow: keep windows small
    };

    explicit XServer(Drawing drawing); ///< throws std::runtime_error when there is no Xvfb
    ~XServer() { stop(); }
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    void stop(); ///< ends it under the feet of all its clients

private:
    std::FILE* server = nullptr; ///< its output
    pid_t process = 0;
};

struct Pixel {
    int red = 0, green = 0, blue = 0;
};

/// A host's connection to the X server, and its windows: black, without frame, and gone with it.
/// A window that has gone is as good as hidden, and nothing done to it has an effect.
class Screen {
public:
    using Id = unsigned long;

    Screen(); ///< throws std::runtime_error
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    [[nodiscard]] Id openWindow(host::GuiSize size, int x = 0, int y = 0);
    void closeWindow(Id window);
    void resizeWindow(Id window, host::GuiSize size);
    [[nodiscard]] host::GuiSize sizeOf(Id window); ///< 0 × 0 while it is hidden
    [[nodiscard]] bool isFixed(Id window);         ///< tells window managers so
    [[nodiscard]] Id editorIn(Id parent);          ///< the plug-in's window; 0 without one
    [[nodiscard]] Id focus();
    void setFocus(Id window);
    [[nodiscard]] bool keyboardIsFree();      ///< nobody has grabbed it
    [[nodiscard]] bool grabKeyboard(Id from); ///< as a menu or a screen's lock does
    void ungrabKeyboard();
    /// Of other connections, where they would end a host.
    [[nodiscard]] static int strayErrors() { return sStrayErrors; }

    void pointTo(Id window, int xPx, int yPx);
    /// 1 left, 2 middle, 3 right, 4 and 5 wheel.
    void button(unsigned number, bool down);
    /// So many clicks at one instant of the server, however busy the machine is.
    void click(unsigned number, int times);
    void key(unsigned long keysym, bool down);
    [[nodiscard]] Pixel pixel(Id window, int xPx, int yPx);

private:
    static inline std::atomic<int> sStrayErrors = 0;

    _XDisplay* display;
};

/// Mouse, wheel and keyboard on one editor, positions in canvas units. Every call returns as soon
/// as the server has the events; the editor takes them with its next frame, in order.
class Hand {
public:
    enum Button : unsigned { Left = 1, Middle = 2, Right = 3, WheelUp = 4, WheelDown = 5 };

    /// Waits until the editor is visible and as large as its parent; throws std::runtime_error.
    Hand(Screen& onScreen, Screen::Id parent);

    void move(ui::Point to);
    void click(ui::Point at, Button button = Left, int times = 1);
    void drag(ui::Point from, ui::Point to);
    void scroll(ui::Point at, int notches); ///< up is positive
    void shift(bool down) { screen.key(kShift, down); }
    void key(unsigned long keysym); ///< of X: those of Latin letters are their code points
    void type(const std::string& ascii);

    [[nodiscard]] Pixel pixel(ui::Point at);
    [[nodiscard]] Screen::Id window() const { return child; }

private:
    static constexpr unsigned long kShift = 0xFFE1;

    [[nodiscard]] std::pair<int, int> placeOf(ui::Point at) const; ///< in pixels of the window

    Screen& screen;
    Screen::Id child = 0;
};

/// Waits for frames of the editor of the instance in slot 0: each publishes its display spectrum.
void awaitFrames(int count = 1); ///< throws std::runtime_error when none come

/// The state that the host would save now.
inline state::Reading savedBy(const Track& track) {
    iplug::IByteChunk chunk;
    const auto bytes = host::saveState(track.instance).value();
    chunk.PutBytes(bytes.data(), bytes.size());
    return state::read(chunk, 0);
}

/// Track and screen must outlive it. The host answers every resize request with yes and does
/// nothing: what it was asked for is in the track's call log.
class OpenEditor {
public:
    OpenEditor(Screen& onScreen, Track& ofTrack, host::GuiSize size = {960, 600}, int x = 0,
               int y = 0)
        : screen(onScreen), track(ofTrack), gui(ofTrack.instance),
          window(onScreen.openWindow(size, x, y)), hand(screen, openIn(window)) {}
    ~OpenEditor() {
        gui.destroy();
        screen.closeWindow(window);
    }
    OpenEditor(const OpenEditor&) = delete;
    OpenEditor& operator=(const OpenEditor&) = delete;

    /// Returns once the editor has taken in all that was done before: it learns of a new size of
    /// its parent with one frame, and with a later one, after all earlier events, that it has it
    /// itself.
    void settle() {
        const host::GuiSize size = screen.sizeOf(window);
        for (const host::GuiSize next : {host::GuiSize{size.width + 2, size.height}, size}) {
            screen.resizeWindow(window, next);
            if (!eventually([&] { return gui.size() == next; }))
                throw std::runtime_error("the editor does not follow its parent");
        }
    }

private:
    Screen::Id openIn(Screen::Id parent) {
        if (!gui.create() || !gui.size() || !gui.setParent(parent) || !gui.show())
            throw std::runtime_error("the editor does not open");
        return parent;
    }

    Screen& screen;

public:
    Track& track;
    host::Gui gui;
    Screen::Id window;
    Hand hand;
};

} // namespace support
