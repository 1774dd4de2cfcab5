/// The editor's thread.
#pragma once

#include "dsp/Relaxed.h"
#include "plugin/EditorAccess.h"

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

namespace ui {
struct Meters;
}

// NOLINTBEGIN(readability-identifier-naming): named as the instance's operations, which call them
/// Runs a window inside the host's on a thread of its own, 60 frames a second, from Open to Close.
/// The host's thread never draws and never waits for more than the frame in progress.
class TessellaDuckworkUI final : public Editor {
public:
    TessellaDuckworkUI() = default;
    TessellaDuckworkUI(const TessellaDuckworkUI&) = delete;
    TessellaDuckworkUI& operator=(const TessellaDuckworkUI&) = delete;
    ~TessellaDuckworkUI() override { Close(); }

    /// Starts the thread. The parent is a native window's id, the size is in pixels. The instance
    /// must outlive the thread. Not twice without Close in between. A window that cannot be opened
    /// is no error: there is none then. [main]
    void Open(std::uintptr_t parentWindow, int widthPx, int heightPx, EditorAccess& access);
    /// Ends and joins the thread; harmless when there is none. [main]
    void Close();

    /// The editor may see a mix of two hand-overs. [audio]
    void SetMeters(const float* ownLevel, const float* peerLevel,
                   const float* reductionDb) override;

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

    EditorAccess* instance = nullptr;
    MeterTriple ownLevels{}, peerLevels{}, reductionsDb{}; ///< [audio, ui]
    std::atomic<bool> running = false;                     ///< written by [main, ui]
    std::mutex sleepMutex; ///< held by the sleeping thread's wait and by Close, for an instant
    std::condition_variable wake;
    std::thread thread;
};

/// What a module hands to its instances as MakeEditor. [main]
std::unique_ptr<Editor> OpenEditor(EditorAccess& instance, std::uintptr_t parentWindow, int widthPx,
                                   int heightPx);
// NOLINTEND(readability-identifier-naming)
