/// A track with its editor open, in a window as a host makes one.
#pragma once

#include "host/Extensions.h"
#include "plugin/StateChunk.h"
#include "tests/editor/Screen.h"
#include "tests/host/Track.h"

#include <stdexcept>

namespace support {

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
