/// The editor as the plug-in instance sees it.
#pragma once

#include "dsp/Relaxed.h"

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

class TessellaDuckwork;

namespace ui {
struct Meters;
}

// NOLINTBEGIN(readability-identifier-naming): named as the instance's operations, which call them
/// Runs a window inside the host's on a thread of its own, 60 frames a second, from Open to Close.
/// The host's thread never draws and never waits for more than the frame in progress.
class TessellaDuckworkUI {
public:
    TessellaDuckworkUI() = default;
    TessellaDuckworkUI(const TessellaDuckworkUI&) = delete;
    TessellaDuckworkUI& operator=(const TessellaDuckworkUI&) = delete;
    ~TessellaDuckworkUI() { Close(); }

    /// Starts the thread. The parent is an X11 window id, the size is in pixels. The instance must
    /// outlive the thread. Not twice without Close in between. A window that cannot be opened is no
    /// error: there is none then. [main]
    void Open(std::uintptr_t parentWindow, int widthPx, int heightPx, TessellaDuckwork* instance);
    /// Ends and joins the thread; harmless when there is none. [main]
    void Close();

    /// Takes three values each: own level, peer's level and gain reduction per band, dB. The editor
    /// may see a mix of two hand-overs. [audio]
    void SetMeters(const float* ownLevelDb, const float* peerLevelDb, const float* reductionDb);

private:
    struct InitData {
        std::uintptr_t parent;
        int widthPx;
        int heightPx;
    };
    using MeterTriple = std::array<dsp::Relaxed<float>, 3>;

    void UIThreadFunc(const InitData& init);
    void runFrames(const InitData& init);
    void sleepUntil(std::chrono::steady_clock::time_point time);
    [[nodiscard]] ui::Meters meters() const;

    TessellaDuckwork* plugin = nullptr;
    MeterTriple ownLevel{}, peerLevel{}, reduction{}; ///< dB. [audio, ui]
    std::atomic<bool> running = false;                ///< written by [main, ui]
    std::mutex sleepMutex; ///< held by the sleeping thread's wait and by Close, for an instant
    std::condition_variable wake;
    std::thread thread;
};
// NOLINTEND(readability-identifier-naming)
