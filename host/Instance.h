/// One plug-in instance and its life: created, initialised, active, processing.
#pragma once

#include "host/AudioBuffers.h"
#include "host/EventList.h"
#include "host/HostCallbacks.h"
#include "host/Library.h"

#include <clap/plugin.h>
#include <clap/process.h>

#include <cstdint>

namespace host {

/// Owns the plug-in; `callbacks` and the library must outlive it. The destructor stops processing,
/// deactivates and destroys, whatever of it is due. Threads as CLAP demands: all calls on the
/// main thread, except those marked [audio], which open an AudioThreadScope themselves.
/// deactivate() and stopProcessing() do nothing when there is nothing to end.
/// Wrong order (activate twice, process while stopped) is passed on: that is the caller's test.
class Instance {
public:
    /// Creates the plug-in with this id, or the library's first when null; throws HostError when
    /// the factory refuses. Not yet initialised.
    Instance(const Library& library, HostCallbacks& callbacks, const char* pluginId = nullptr);
    /// Takes over a plug-in that was made with `callbacks`. Not yet initialised.
    Instance(HostCallbacks& callbacks, const clap_plugin_t* plugin);
    ~Instance();
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    [[nodiscard]] bool init();
    [[nodiscard]] bool activate(double sampleRate, std::uint32_t minFrames,
                                std::uint32_t maxFrames);
    void deactivate();
    [[nodiscard]] bool startProcessing(); ///< [audio]
    void stopProcessing();                ///< [audio]
    void reset();                         ///< [audio]

    /// One block of `frames` samples, at most the buffers' maxFrames. Output events are appended
    /// to `out`. Constant masks of the outputs are as the plug-in left them. The host knows no
    /// time and no transport. [audio]
    clap_process_status process(AudioBuffers& audio, std::uint32_t frames, const EventList& in,
                                EventList& out);
    /// The same without events; what the plug-in sends is dropped. [audio]
    clap_process_status process(AudioBuffers& audio, std::uint32_t frames);

    /// Runs on_main_thread as often as the plug-in has asked for it (at most 100 times in a row)
    /// and says how often that was.
    int pumpMainThread();

    [[nodiscard]] const clap_plugin_t* plugin() const { return clapPlugin; }
    [[nodiscard]] HostCallbacks& callbacks() const { return hostCallbacks; }
    [[nodiscard]] bool isActive() const { return active; }

    /// A plug-in extension's table, or null. [any]
    template <typename Table>
    [[nodiscard]] const Table* extension(const char* id) const {
        return static_cast<const Table*>(clapPlugin->get_extension(clapPlugin, id));
    }

private:
    HostCallbacks& hostCallbacks;
    const clap_plugin_t* clapPlugin = nullptr;
    bool active = false;
    bool processing = false;
    EventList noEvents{0, 0};
    EventList droppedOut;
};

} // namespace host
