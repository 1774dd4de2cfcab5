/// The host as a plug-in sees it: the record with its callbacks, and the extensions behind it.
#pragma once

#include "host/CallLog.h"

#include <clap/host.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <thread>

namespace host {

/// Who acts on what the plug-in's GUI asks for: each is called on the thread that asks, and its
/// result is the host's answer. Without one the request is only recorded, and granted. They must
/// not throw.
struct GuiHandlers {
    std::function<bool(std::uint32_t width, std::uint32_t height)> requestResize;
    std::function<bool()> requestShow;
    std::function<bool()> requestHide;
    std::function<void()> resizeHintsChanged;
    std::function<void(bool wasDestroyed)> closed;
};

/// One per plug-in instance; outlives it. Offers log, thread-check, params, state, latency, tail,
/// audio-ports, gui, timer-support and posix-fd-support unless told otherwise. The thread that
/// constructs it is the main thread of the thread check. Configure before the instance is created:
/// the plug-in may keep what it got. Callbacks record; timers and
/// descriptors are refused, GUI requests go to gui(), nothing else is carried out until the owner
/// asks. [main]
class HostCallbacks {
public:
    HostCallbacks();
    HostCallbacks(const HostCallbacks&) = delete;
    HostCallbacks& operator=(const HostCallbacks&) = delete;

    /// The record to hand to a factory's create function.
    [[nodiscard]] const clap_host_t* record() const { return &clapHost; }

    /// A host without any extension.
    void withholdAll() { withholdsAll = true; }
    /// The extension is offered, but every function in its table is null.
    void offerPartial(std::string_view id) { partialIds.emplace(id); }

    /// Every callback that came, with thread and values. [any]
    [[nodiscard]] CallLog& calls() { return callLog; }
    [[nodiscard]] const CallLog& calls() const { return callLog; }

    /// Whether the plug-in has asked for its main-thread call since the last take. [any]
    [[nodiscard]] bool takeCallbackRequest() { return callbackRequested.exchange(false); }

    /// Set while the plug-in has no GUI: read without a lock whenever its GUI asks.
    [[nodiscard]] GuiHandlers& gui() { return guiHandlers; }

    /// As the thread check answers on the calling thread. [any]
    [[nodiscard]] bool isMainThread() const;
    [[nodiscard]] static bool isAudioThread();

    /// Records a call from the current thread; used by the callbacks. [any]
    void note(Callback callback, std::uint32_t value = 0, const char* text = nullptr) noexcept;
    void note(Callback callback, std::uint32_t value, std::uint32_t value2) noexcept;
    /// The table for an id as configured, or null; used by get_extension. [any]
    [[nodiscard]] const void* extension(const char* id) const noexcept;
    void requestCallback() noexcept { callbackRequested = true; }

private:
    [[nodiscard]] CallRecord recordOf(Callback callback, std::uint32_t value) const noexcept;

    clap_host_t clapHost{};
    CallLog callLog;
    GuiHandlers guiHandlers;
    std::thread::id mainThread = std::this_thread::get_id();
    std::set<std::string, std::less<>> partialIds;
    bool withholdsAll = false;
    std::atomic<bool> callbackRequested{false};
};

} // namespace host
