/// The program: tracks, sound and windows, from start to end.
#pragma once

#include "host/Library.h"
#include "tools/editor/EditorWindow.h"
#include "tools/editor/Options.h"
#include "tools/editor/SoundOut.h"
#include "tools/editor/Track.h"

#include <chrono>
#include <memory>
#include <vector>

namespace editor {

/// Everything throws tools::Failure or host::HostError. What is declared later ends first:
/// windows, then sound, then instances. [main]
class App {
public:
    /// Starts all of it.
    explicit App(const Options& given);

    /// Until the last window is closed, the time is up or the user interrupts; then saves.
    void run();

private:
    void createTracks();
    void startSound();
    void openWindows();
    void serveMainThread();
    [[nodiscard]] bool isOver() const;
    void saveStates() const;

    const Options& options;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    XServer server;
    host::Library library;
    std::vector<std::unique_ptr<Track>> tracks;
    Mixer mixer{tracks};
    std::unique_ptr<SoundOut> sound;
    std::vector<std::unique_ptr<EditorWindow>> windows;
};

} // namespace editor
