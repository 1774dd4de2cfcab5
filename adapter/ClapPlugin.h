/// Routes the CLAP function tables of one plug-in instance onto virtual operations.
#pragma once

#include "adapter/ClapRecords.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <queue>

/// Base class of a CLAP plug-in instance: owns the clap_plugin record that the host sees, forwards
/// every call to a virtual operation, and gives access to the host's optional extensions.
///
/// The extensions are those this plug-in has. No thread, index or null check is made here: that
/// is the derived class's business. The host destroys the object through its record; nobody else
/// deletes it.
class ClapPlugin {
public:
    ClapPlugin(const ClapPlugin&) = delete;
    ClapPlugin& operator=(const ClapPlugin&) = delete;

    /// The record for the host, valid as long as the object. [any]
    [[nodiscard]] const clap_plugin_t* clapPlugin() const noexcept { return &pluginRecord; }

protected:
    /// Copies the descriptor, since hosts may free the factory's own while instances live. Asks
    /// nothing of the host yet. [main]
    ClapPlugin(const clap_plugin_descriptor_t& descriptor, const clap_host_t* host) noexcept;
    virtual ~ClapPlugin() = default;

    // Core
    virtual bool init() noexcept { return true; } // [main]
    virtual bool activate(double /*sampleRate*/, std::uint32_t /*minFrames*/,
                          std::uint32_t /*maxFrames*/) noexcept {
        return true;
    }                                                        // [main]
    virtual void deactivate() noexcept {}                    // [main]
    virtual bool startProcessing() noexcept { return true; } // [audio]
    virtual void stopProcessing() noexcept {}                // [audio]
    virtual void reset() noexcept {}                         // [audio]
    virtual clap_process_status process(const clap_process_t* /*process*/) noexcept {
        return CLAP_PROCESS_SLEEP;
    }                                       // [audio]
    virtual void onMainThread() noexcept {} // [main]

    // Audio ports and their configurations, [main]
    virtual std::uint32_t audioPortsCount(bool /*isInput*/) const noexcept { return 0; }
    virtual bool audioPortsInfo(std::uint32_t /*index*/, bool /*isInput*/,
                                clap_audio_port_info_t* /*info*/) const noexcept {
        return false;
    }
    virtual std::uint32_t audioPortsConfigCount() const noexcept { return 0; }
    virtual bool audioPortsGetConfig(std::uint32_t /*index*/,
                                     clap_audio_ports_config_t* /*config*/) const noexcept {
        return false;
    }
    virtual bool audioPortsSetConfig(clap_id /*configId*/) noexcept { return false; }

    // Latency [main], tail [main, audio], render mode [main]
    virtual std::uint32_t latencyGet() const noexcept { return 0; }
    virtual std::uint32_t tailGet() const noexcept { return 0; }
    virtual bool renderHasHardRealtimeRequirement() noexcept { return false; }
    virtual bool renderSetMode(clap_plugin_render_mode /*mode*/) noexcept { return false; }

    // State, [main]
    virtual bool stateSave(const clap_ostream_t* /*stream*/) noexcept { return false; }
    virtual bool stateLoad(const clap_istream_t* /*stream*/) noexcept { return false; }

    // Parameters, [main]; flush: [audio] while active, else [main]
    virtual std::uint32_t paramsCount() const noexcept { return 0; }
    virtual bool paramsInfo(std::uint32_t /*index*/, clap_param_info_t* /*info*/) const noexcept {
        return false;
    }
    virtual bool paramsValue(clap_id /*id*/, double* /*value*/) noexcept { return false; }
    virtual bool paramsValueToText(clap_id /*id*/, double /*value*/, char* /*display*/,
                                   std::uint32_t /*size*/) noexcept {
        return false;
    }
    virtual bool paramsTextToValue(clap_id /*id*/, const char* /*display*/,
                                   double* /*value*/) noexcept {
        return false;
    }
    virtual void paramsFlush(const clap_input_events_t* /*in*/,
                             const clap_output_events_t* /*out*/) noexcept {}

    // GUI, [main]; destroy comes once for every successful create, inside the plug-in's own
    // destruction at the latest
    virtual bool guiIsApiSupported(const char* /*api*/, bool /*floating*/) noexcept {
        return false;
    }
    virtual bool guiGetPreferredApi(const char** /*api*/, bool* /*floating*/) noexcept {
        return false;
    }
    virtual bool guiCreate(const char* /*api*/, bool /*floating*/) noexcept { return false; }
    virtual void guiDestroy() noexcept {}
    virtual bool guiSetScale(double /*scale*/) noexcept { return false; }
    virtual bool guiGetSize(std::uint32_t* /*width*/, std::uint32_t* /*height*/) noexcept {
        return false;
    }
    virtual bool guiCanResize() const noexcept { return false; }
    virtual bool guiGetResizeHints(clap_gui_resize_hints_t* /*hints*/) noexcept { return false; }
    virtual bool guiAdjustSize(std::uint32_t* /*width*/, std::uint32_t* /*height*/) noexcept {
        return false;
    }
    virtual bool guiSetSize(std::uint32_t /*width*/, std::uint32_t /*height*/) noexcept {
        return false;
    }
    virtual bool guiSetParent(const clap_window_t* /*window*/) noexcept { return false; }
    virtual bool guiShow() noexcept { return false; }
    virtual bool guiHide() noexcept { return false; }

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

    // Calls into the host, allowed once the test above was true.
    void hostTailChanged() const noexcept { tail->changed(host); } // [audio]
    void hostRescanValues() const noexcept {
        params->rescan(host, CLAP_PARAM_RESCAN_VALUES);
    }                                                                       // [main]
    void hostRequestFlush() const noexcept { params->request_flush(host); } // [main]
    bool hostRequestResize(std::uint32_t width, std::uint32_t height) const noexcept {
        return gui->request_resize(host, width, height);
    } // [any but audio]

    /// To the host's log, or to the standard error stream when it has none. [any but audio]
    void log(clap_log_severity severity, const char* message) const noexcept;

    /// Runs f at once when the host says that this is its main thread, else later: at the host's
    /// next main-thread callback, or inside destroy at the latest. Allocates and locks.
    /// [any but audio]
    void runOnMainThread(std::function<void()> f);

private:
    struct Routes; // the C functions and tables, in ClapPlugin.cpp

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
    bool guiCreated = false; ///< [main]
    std::atomic<bool> active = false;
    std::atomic<bool> processing = false;

    std::mutex callbacksMutex;
    std::queue<std::function<void()>> callbacks; // guarded by callbacksMutex
};
