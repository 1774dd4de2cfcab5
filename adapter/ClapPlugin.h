/// Routes the CLAP function tables of one plug-in instance onto virtual operations.
#pragma once

#include "adapter/ClapRecords.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <queue>
#include <type_traits>

/// Base class of a CLAP plug-in instance: owns the clap_plugin record that the host sees, forwards
/// every call to a virtual operation, and gives access to the host's optional extensions.
///
/// No thread, index or null check is made here: that is the derived class's business. The host
/// destroys the object through its record; nobody else deletes it.
class ClapPlugin {
public:
    ClapPlugin(const ClapPlugin&) = delete;
    ClapPlugin& operator=(const ClapPlugin&) = delete;

    /// The record for the host, valid as long as the object. [any]
    [[nodiscard]] const clap_plugin_t* clapPlugin() const noexcept { return &pluginRecord; }

protected:
    /// Copies the descriptor, which the factory may drop while instances live. Asks nothing of the
    /// host yet. [main]
    ClapPlugin(const clap_plugin_descriptor_t& descriptor, const clap_host_t* host) noexcept;
    virtual ~ClapPlugin() = default;

    // Core, [main]; from startProcessing on [audio]
    virtual bool init() noexcept = 0;
    virtual bool activate(double sampleRate, std::uint32_t minFrames,
                          std::uint32_t maxFrames) noexcept = 0;
    virtual void deactivate() noexcept = 0;
    virtual void onMainThread() noexcept = 0;
    virtual bool startProcessing() noexcept { return true; }
    virtual void stopProcessing() noexcept {}
    virtual void reset() noexcept = 0;
    virtual clap_process_status process(const clap_process_t* block) noexcept = 0;

    // Audio ports and their configurations, [main]
    virtual std::uint32_t audioPortsCount(bool isInput) const noexcept = 0;
    virtual bool audioPortsInfo(std::uint32_t index, bool isInput,
                                clap_audio_port_info_t* info) const noexcept = 0;
    virtual std::uint32_t audioPortsConfigCount() const noexcept = 0;
    virtual bool audioPortsGetConfig(std::uint32_t index,
                                     clap_audio_ports_config_t* config) const noexcept = 0;
    virtual bool audioPortsSetConfig(clap_id configId) noexcept = 0;

    // Latency [main], tail [main, audio], render mode [main]
    virtual std::uint32_t latencyGet() const noexcept = 0;
    virtual std::uint32_t tailGet() const noexcept { return 0; }
    virtual bool renderHasHardRealtimeRequirement() noexcept { return false; }
    virtual bool renderSetMode(clap_plugin_render_mode mode) noexcept = 0;

    // State, [main]
    virtual bool stateSave(const clap_ostream_t* stream) noexcept = 0;
    virtual bool stateLoad(const clap_istream_t* stream) noexcept = 0;

    // Parameters, [main]; flush: [audio] while active, else [main]
    virtual std::uint32_t paramsCount() const noexcept = 0;
    virtual bool paramsInfo(std::uint32_t index, clap_param_info_t* info) const noexcept = 0;
    virtual bool paramsValue(clap_id id, double* value) noexcept = 0;
    virtual bool paramsValueToText(clap_id id, double value, char* display,
                                   std::uint32_t size) noexcept = 0;
    virtual bool paramsTextToValue(clap_id id, const char* display, double* value) noexcept = 0;
    virtual void paramsFlush(const clap_input_events_t* in,
                             const clap_output_events_t* out) noexcept = 0;

    // GUI, [main]; destroy comes once for every successful create, inside the plug-in's own
    // destruction at the latest. Only floating windows have a main window above them or a title.
    virtual bool guiIsApiSupported(const char* api, bool floating) noexcept = 0;
    virtual bool guiGetPreferredApi(const char** api, bool* floating) noexcept = 0;
    virtual bool guiCreate(const char* api, bool floating) noexcept = 0;
    virtual void guiDestroy() noexcept = 0;
    virtual bool guiSetScale(double scale) noexcept = 0;
    virtual bool guiGetSize(std::uint32_t* width, std::uint32_t* height) noexcept = 0;
    virtual bool guiCanResize() const noexcept = 0;
    virtual bool guiGetResizeHints(clap_gui_resize_hints_t* hints) noexcept = 0;
    virtual bool guiAdjustSize(std::uint32_t* width, std::uint32_t* height) noexcept = 0;
    virtual bool guiSetSize(std::uint32_t width, std::uint32_t height) noexcept = 0;
    virtual bool guiSetParent(const clap_window_t* window) noexcept = 0;
    virtual bool guiSetTransient(const clap_window_t* /*window*/) noexcept { return false; }
    virtual void guiSuggestTitle(const char* /*title*/) noexcept {}
    virtual bool guiShow() noexcept = 0;
    virtual bool guiHide() noexcept = 0;

    /// True from the end of a successful activate to the start of deactivate. [any]
    [[nodiscard]] bool isActive() const noexcept { return active.load(std::memory_order_relaxed); }
    /// True between start and stop processing. [any]
    [[nodiscard]] bool isProcessing() const noexcept {
        return processing.load(std::memory_order_relaxed);
    }

    // Whether the host offers an extension with all its functions, as found when it called init.
    // An extension that lacks a function is logged as partially implemented at every such test.
    [[nodiscard]] bool canUseThreadCheck() const noexcept; // [any]
    [[nodiscard]] bool canUseTail() const noexcept;        // [any but audio]
    [[nodiscard]] bool canUseParams() const noexcept;      // [any but audio]
    [[nodiscard]] bool canUseGui() const noexcept;         // [any but audio]
    [[nodiscard]] bool canUseState() const noexcept;       // [any but audio]

    // Calls into the host, allowed once the test above was true: tail [audio], resize [any but
    // audio], all else [main].
    void hostTailChanged() const { tail->changed(host); }
    void hostRescanValues() const { params->rescan(host, CLAP_PARAM_RESCAN_VALUES); }
    void hostRequestFlush() const { params->request_flush(host); }
    void hostMarkDirty() const { state->mark_dirty(host); }
    bool hostRequestResize(std::uint32_t width, std::uint32_t height) const {
        return gui->request_resize(host, width, height);
    }

    /// To the host's log, or to the standard error stream when it has none. [any but audio]
    void log(clap_log_severity severity, const char* message) const noexcept;

    /// Runs what may throw where no exception may leave. When one was thrown: logs the message,
    /// null for none, and returns the zero of the body's result. [any; audio without a message]
    template <class Body>
    auto guarded(const char* message, const Body& body) const noexcept
        -> std::invoke_result_t<Body> try {
        return body();
    } catch (...) {
        if (message != nullptr)
            log(CLAP_LOG_ERROR, message);
        return std::invoke_result_t<Body>();
    }

    /// Runs f at once when the host says that this is its main thread, else later: at the host's
    /// next main-thread callback, or inside destroy at the latest. Allocates and locks.
    /// [any but audio]
    void runOnMainThread(std::function<void()> f);

private:
    struct Routes; // the C functions and tables, in ClapPlugin.cpp

    template <class Table, class... Functions>
    bool isComplete(const Table* const& table, const char* partial,
                    Functions Table::*... functions) const noexcept;
    void queryHostExtensions() noexcept;
    void runQueuedCallbacks() noexcept;

    const clap_plugin_descriptor_t descriptor;
    const clap_host_t* const host;
    clap_plugin_t pluginRecord;
    const clap_host_log_t* hostLog = nullptr;
    const clap_host_thread_check_t* threadCheck = nullptr;
    const clap_host_tail_t* tail = nullptr;
    const clap_host_params_t* params = nullptr;
    const clap_host_gui_t* gui = nullptr;
    const clap_host_state_t* state = nullptr;
    std::atomic<bool> hostKnown = false; ///< the tables are those of the host
    bool guiCreated = false;             ///< [main]
    std::atomic<bool> active = false;
    std::atomic<bool> processing = false;

    std::mutex callbacksMutex;
    std::queue<std::function<void()>> callbacks; // guarded by callbacksMutex
};
