#include "adapter/ClapPlugin.h"

#include <cstdio>
#include <cstring>
#include <utility>

/// The C side: each function finds the object behind the record and forwards.
struct ClapPlugin::Routes {
    static ClapPlugin& of(const clap_plugin_t* plugin) noexcept {
        return *static_cast<ClapPlugin*>(plugin->plugin_data);
    }

    static bool init(const clap_plugin_t* p) noexcept {
        of(p).queryHostExtensions();
        return of(p).init();
    }
    static void destroy(const clap_plugin_t* p) noexcept {
        guiDestroy(p);
        if (of(p).isActive())
            deactivate(p);
        of(p).runQueuedCallbacks();
        delete &of(p);
    }
    static bool activate(const clap_plugin_t* p, double sampleRate, std::uint32_t minFrames,
                         std::uint32_t maxFrames) noexcept {
        const bool done = of(p).activate(sampleRate, minFrames, maxFrames);
        if (done)
            of(p).active.store(true, std::memory_order_relaxed);
        return done;
    }
    static void deactivate(const clap_plugin_t* p) noexcept {
        of(p).deactivate();
        of(p).processing.store(false, std::memory_order_relaxed);
        of(p).active.store(false, std::memory_order_relaxed);
    }
    static bool startProcessing(const clap_plugin_t* p) noexcept {
        const bool started = of(p).startProcessing();
        of(p).processing.store(started, std::memory_order_relaxed);
        return started;
    }
    static void stopProcessing(const clap_plugin_t* p) noexcept {
        of(p).stopProcessing();
        of(p).processing.store(false, std::memory_order_relaxed);
    }
    static void reset(const clap_plugin_t* p) noexcept { of(p).reset(); }
    static clap_process_status process(const clap_plugin_t* p,
                                       const clap_process_t* block) noexcept {
        return of(p).process(block);
    }
    static void onMainThread(const clap_plugin_t* p) noexcept {
        of(p).runQueuedCallbacks();
        of(p).onMainThread();
    }

    static std::uint32_t audioPortsCount(const clap_plugin_t* p, bool isInput) noexcept {
        return of(p).audioPortsCount(isInput);
    }
    static bool audioPortsInfo(const clap_plugin_t* p, std::uint32_t index, bool isInput,
                               clap_audio_port_info_t* info) noexcept {
        return of(p).audioPortsInfo(index, isInput, info);
    }
    static std::uint32_t audioPortsConfigCount(const clap_plugin_t* p) noexcept {
        return of(p).audioPortsConfigCount();
    }
    static bool audioPortsGetConfig(const clap_plugin_t* p, std::uint32_t index,
                                    clap_audio_ports_config_t* config) noexcept {
        return of(p).audioPortsGetConfig(index, config);
    }
    static bool audioPortsSetConfig(const clap_plugin_t* p, clap_id configId) noexcept {
        return of(p).audioPortsSetConfig(configId);
    }

    static std::uint32_t latencyGet(const clap_plugin_t* p) noexcept { return of(p).latencyGet(); }
    static std::uint32_t tailGet(const clap_plugin_t* p) noexcept { return of(p).tailGet(); }
    static bool renderHasHardRealtimeRequirement(const clap_plugin_t* p) noexcept {
        return of(p).renderHasHardRealtimeRequirement();
    }
    static bool renderSetMode(const clap_plugin_t* p, clap_plugin_render_mode mode) noexcept {
        return of(p).renderSetMode(mode);
    }

    static bool stateSave(const clap_plugin_t* p, const clap_ostream_t* stream) noexcept {
        return of(p).stateSave(stream);
    }
    static bool stateLoad(const clap_plugin_t* p, const clap_istream_t* stream) noexcept {
        return of(p).stateLoad(stream);
    }

    static std::uint32_t paramsCount(const clap_plugin_t* p) noexcept {
        return of(p).paramsCount();
    }
    static bool paramsInfo(const clap_plugin_t* p, std::uint32_t index,
                           clap_param_info_t* info) noexcept {
        return of(p).paramsInfo(index, info);
    }
    static bool paramsValue(const clap_plugin_t* p, clap_id id, double* value) noexcept {
        return of(p).paramsValue(id, value);
    }
    static bool paramsValueToText(const clap_plugin_t* p, clap_id id, double value, char* display,
                                  std::uint32_t size) noexcept {
        return of(p).paramsValueToText(id, value, display, size);
    }
    static bool paramsTextToValue(const clap_plugin_t* p, clap_id id, const char* display,
                                  double* value) noexcept {
        return of(p).paramsTextToValue(id, display, value);
    }
    static void paramsFlush(const clap_plugin_t* p, const clap_input_events_t* in,
                            const clap_output_events_t* out) noexcept {
        of(p).paramsFlush(in, out);
    }

    static bool guiIsApiSupported(const clap_plugin_t* p, const char* api, bool floating) noexcept {
        return of(p).guiIsApiSupported(api, floating);
    }
    static bool guiGetPreferredApi(const clap_plugin_t* p, const char** api,
                                   bool* floating) noexcept {
        return of(p).guiGetPreferredApi(api, floating);
    }
    static bool guiCreate(const clap_plugin_t* p, const char* api, bool floating) noexcept {
        of(p).guiCreated = of(p).guiCreate(api, floating);
        return of(p).guiCreated;
    }
    static void guiDestroy(const clap_plugin_t* p) noexcept {
        if (std::exchange(of(p).guiCreated, false))
            of(p).guiDestroy();
    }
    static bool guiSetScale(const clap_plugin_t* p, double scale) noexcept {
        return of(p).guiSetScale(scale);
    }
    static bool guiGetSize(const clap_plugin_t* p, std::uint32_t* width,
                           std::uint32_t* height) noexcept {
        return of(p).guiGetSize(width, height);
    }
    static bool guiCanResize(const clap_plugin_t* p) noexcept { return of(p).guiCanResize(); }
    static bool guiGetResizeHints(const clap_plugin_t* p, clap_gui_resize_hints_t* hints) noexcept {
        return of(p).guiGetResizeHints(hints);
    }
    static bool guiAdjustSize(const clap_plugin_t* p, std::uint32_t* width,
                              std::uint32_t* height) noexcept {
        return of(p).guiAdjustSize(width, height);
    }
    static bool guiSetSize(const clap_plugin_t* p, std::uint32_t width,
                           std::uint32_t height) noexcept {
        return of(p).guiSetSize(width, height);
    }
    static bool guiSetParent(const clap_plugin_t* p, const clap_window_t* window) noexcept {
        return of(p).guiSetParent(window);
    }
    // Only windows of their own have a main window above them or a title.
    static bool guiSetTransient(const clap_plugin_t*, const clap_window_t*) noexcept {
        return false;
    }
    static void guiSuggestTitle(const clap_plugin_t*, const char*) noexcept {}
    static bool guiShow(const clap_plugin_t* p) noexcept { return of(p).guiShow(); }
    static bool guiHide(const clap_plugin_t* p) noexcept { return of(p).guiHide(); }

    static const void* getExtension(const clap_plugin_t* p, const char* id) noexcept;
};

const void* ClapPlugin::Routes::getExtension(const clap_plugin_t* /*p*/, const char* id) noexcept {
    static constexpr clap_plugin_audio_ports_t audioPorts = {audioPortsCount, audioPortsInfo};
    static constexpr clap_plugin_audio_ports_config_t audioPortsConfig = {
        audioPortsConfigCount, audioPortsGetConfig, audioPortsSetConfig};
    static constexpr clap_plugin_latency_t latency = {latencyGet};
    static constexpr clap_plugin_tail_t tail = {tailGet};
    static constexpr clap_plugin_render_t render = {renderHasHardRealtimeRequirement,
                                                    renderSetMode};
    static constexpr clap_plugin_state_t state = {stateSave, stateLoad};
    static constexpr clap_plugin_params_t params = {
        paramsCount, paramsInfo, paramsValue, paramsValueToText, paramsTextToValue, paramsFlush};
    static constexpr clap_plugin_gui_t gui = {
        guiIsApiSupported, guiGetPreferredApi, guiCreate,         guiDestroy,    guiSetScale,
        guiGetSize,        guiCanResize,       guiGetResizeHints, guiAdjustSize, guiSetSize,
        guiSetParent,      guiSetTransient,    guiSuggestTitle,   guiShow,       guiHide};

    static constexpr std::pair<const char*, const void*> tables[] = {
        {CLAP_EXT_AUDIO_PORTS, &audioPorts}, {CLAP_EXT_AUDIO_PORTS_CONFIG, &audioPortsConfig},
        {CLAP_EXT_LATENCY, &latency},        {CLAP_EXT_TAIL, &tail},
        {CLAP_EXT_RENDER, &render},          {CLAP_EXT_STATE, &state},
        {CLAP_EXT_PARAMS, &params},          {CLAP_EXT_GUI, &gui},
    };
    if (id == nullptr)
        return nullptr;
    for (const auto& [offeredId, table] : tables)
        if (std::strcmp(id, offeredId) == 0)
            return table;
    return nullptr;
}

ClapPlugin::ClapPlugin(const clap_plugin_descriptor_t& factoryDescriptor,
                       const clap_host_t* clapHost) noexcept
    : descriptor(factoryDescriptor),
      host(clapHost), pluginRecord{.desc = &descriptor,
                                   .plugin_data = this,
                                   .init = Routes::init,
                                   .destroy = Routes::destroy,
                                   .activate = Routes::activate,
                                   .deactivate = Routes::deactivate,
                                   .start_processing = Routes::startProcessing,
                                   .stop_processing = Routes::stopProcessing,
                                   .reset = Routes::reset,
                                   .process = Routes::process,
                                   .get_extension = Routes::getExtension,
                                   .on_main_thread = Routes::onMainThread} {}

void ClapPlugin::queryHostExtensions() noexcept {
    if (host == nullptr || host->get_extension == nullptr)
        return;
    const auto query = [this]<class Table>(const Table*& table, const char* id) {
        table = static_cast<const Table*>(host->get_extension(host, id));
    };
    query(hostLog, CLAP_EXT_LOG);
    query(threadCheck, CLAP_EXT_THREAD_CHECK);
    query(tail, CLAP_EXT_TAIL);
    query(params, CLAP_EXT_PARAMS);
    query(gui, CLAP_EXT_GUI);
}

bool ClapPlugin::canUseThreadCheck() const noexcept {
    return threadCheck != nullptr && threadCheck->is_main_thread != nullptr &&
           threadCheck->is_audio_thread != nullptr;
}

bool ClapPlugin::canUseTail() const noexcept {
    if (tail == nullptr)
        return false;
    const bool complete = tail->changed != nullptr;
    if (!complete)
        log(CLAP_LOG_HOST_MISBEHAVING, "clap_host_tail is partially implemented");
    return complete;
}

bool ClapPlugin::canUseParams() const noexcept {
    if (params == nullptr)
        return false;
    const bool complete =
        params->rescan != nullptr && params->clear != nullptr && params->request_flush != nullptr;
    if (!complete)
        log(CLAP_LOG_HOST_MISBEHAVING, "clap_host_params is partially implemented");
    return complete;
}

bool ClapPlugin::canUseGui() const noexcept {
    if (gui == nullptr)
        return false;
    const bool complete = gui->resize_hints_changed != nullptr && gui->request_resize != nullptr &&
                          gui->request_show != nullptr && gui->request_hide != nullptr &&
                          gui->closed != nullptr;
    if (!complete)
        log(CLAP_LOG_HOST_MISBEHAVING, "clap_host_gui is partially implemented");
    return complete;
}

void ClapPlugin::log(clap_log_severity severity, const char* message) const noexcept {
    if (hostLog != nullptr && hostLog->log != nullptr)
        hostLog->log(host, severity, message);
    else
        std::fprintf(stderr, "TessellaDuckwork: %s\n", message);
}

void ClapPlugin::runOnMainThread(std::function<void()> f) {
    if (canUseThreadCheck() && threadCheck->is_main_thread(host)) {
        f();
        return;
    }
    {
        const std::scoped_lock lock(callbacksMutex);
        callbacks.push(std::move(f));
    }
    // Unlocked: a host may answer by calling on_main_thread in place.
    if (host != nullptr && host->request_callback != nullptr)
        host->request_callback(host);
}

void ClapPlugin::runQueuedCallbacks() noexcept {
    for (;;) {
        std::function<void()> next;
        {
            const std::scoped_lock lock(callbacksMutex);
            if (callbacks.empty())
                return;
            next = std::move(callbacks.front());
            callbacks.pop();
        }
        next();
    }
}
