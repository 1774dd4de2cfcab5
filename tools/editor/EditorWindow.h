/// An instance's editor in a window of its own.
#pragma once

#include "host/Gui.h"
#include "tools/editor/XServer.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <string>

namespace editor {

/// Plays the host's part in the sizing of the two: the user resizes the window, the plug-in asks
/// for another size from any of its threads. The instance must outlive it. [main]
class EditorWindow {
public:
    struct Appearance {
        std::string title;
        std::optional<double> scale;
        int x = 0; ///< left edge, unless a window manager knows better
    };

    /// Throws tools::Failure when the plug-in has no X11 editor or does not open it.
    EditorWindow(XServer& server, host::Instance& shown, const Appearance& appearance);
    ~EditorWindow();
    EditorWindow(const EditorWindow&) = delete;
    EditorWindow& operator=(const EditorWindow&) = delete;

    /// Carries out what plug-in and user want since the last time. False once it is to close.
    [[nodiscard]] bool update();
    [[nodiscard]] host::GuiSize size() const { return window->size(); }

private:
    using Clock = std::chrono::steady_clock;

    explicit EditorWindow(host::Instance& shown);
    void listen();
    void open(XServer& server, const Appearance& appearance);
    [[nodiscard]] SizeRules sizeRules(host::GuiSize size) const;
    [[nodiscard]] bool request(host::GuiSize size); ///< [any]
    [[nodiscard]] std::optional<host::GuiSize> takeRequest();
    void followPlugin(host::GuiSize wanted);
    void followUser();

    host::Instance& instance;
    std::mutex requestMutex;                ///< held for copies of requested only
    std::optional<host::GuiSize> requested; ///< by the plug-in, not yet done
    std::atomic<bool> gone{false};          ///< the plug-in has lost its own window
    host::GuiSize followed;                 ///< the window's size that the plug-in knows
    Clock::time_point quietUntil{};         ///< a size that the plug-in wanted is on its way
    std::optional<TopLevel> window;
    host::Gui gui; ///< after the window: goes before it
};

} // namespace editor
