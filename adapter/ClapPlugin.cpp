#include "adapter/ClapPlugin.h"

#include <cstdio>
#include <cstring>
#include <utility>

/// The C side: each function finds the object behind the record and forwards.
struct ClapPlugin::Routes {
    static ClapPlugin& of(const clap_plugin_t* plugin) noexcept {
        return *static_cast<ClapPlugin*>(plugin->plugin_data);
    }

    /// The C function of an operation. Its signature is that of the place in a table it is put in.
    template <auto kOperation, class Result, class... Arguments>
    static Result route(const clap_plugin_t* p, Arguments... arguments) noexcept {
        return (of(p).*kOperation)(arguments...);
    }

    // What is more than forwarding

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
        of(p).processing.store(false, std::memory_order_relaxed);
        of(p).active.store(false, std::memory_order_relaxed);
        of(p).deactivate();
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
    static void onMainThread(const clap_plugin_t* p) noexcept {
        of(p).runQueuedCallbacks();
        of(p).onMainThread();
    }
    static bool guiCreate(const clap_plugin_t* p, const char* api, bool floating) noexcept {
        of(p).guiCreated = of(p).guiCreate(api, floating);
        return of(p).guiCreated;
    }
    static void guiDestroy(const clap_plugin_t* p) noexcept {
        if (std::exchange(of(p).guiCreated, false))
            of(p).guiDestroy();
    }

    static const void* getExtension(const clap_plugin_t* p, const char* id) noexcept;
};

const void* ClapPlugin::Routes::getExtension(const clap_plugin_t* /*p*/, const char* id) noexcept {
    using Plugin = ClapPlugin;
    static constexpr clap_plugin_audio_ports_t audioPorts = {route<&Plugin::audioPortsCount>,
                                                             route<&Plugin::audioPortsInfo>};
    static constexpr clap_plugin_audio_ports_config_t audioPortsConfig = {
        route<&Plugin::audioPortsConfigCount>, route<&Plugin::audioPortsGetConfig>,
        route<&Plugin::audioPortsSetConfig>};
    static constexpr clap_plugin_latency_t latency = {route<&Plugin::latencyGet>};
    static constexpr clap_plugin_tail_t tail = {route<&Plugin::tailGet>};
    static constexpr clap_plugin_render_t render = {
        route<&Plugin::renderHasHardRealtimeRequirement>, route<&Plugin::renderSetMode>};
    static constexpr clap_plugin_state_t state = {route<&Plugin::stateSave>,
                                                  route<&Plugin::stateLoad>};
    static constexpr clap_plugin_params_t params = {
        route<&Plugin::paramsCount>,       route<&Plugin::paramsInfo>,
        route<&Plugin::paramsValue>,       route<&Plugin::paramsValueToText>,
        route<&Plugin::paramsTextToValue>, route<&Plugin::paramsFlush>};
    static constexpr clap_plugin_gui_t gui = {.is_api_supported = route<&Plugin::guiIsApiSupported>,
                                              .get_preferred_api =
                                                  route<&Plugin::guiGetPreferredApi>,
                                              .create = guiCreate,
                                              .destroy = guiDestroy,
                                              .set_scale = route<&Plugin::guiSetScale>,
                                              .get_size = route<&Plugin::guiGetSize>,
                                              .can_resize = route<&Plugin::guiCanResize>,
                                              .get_resize_hints = route<&Plugin::guiGetResizeHints>,
                                              .adjust_size = route<&Plugin::guiAdjustSize>,
                                              .set_size = route<&Plugin::guiSetSize>,
                                              .set_parent = route<&Plugin::guiSetParent>,
                                              .set_transient = route<&Plugin::guiSetTransient>,
                                              .suggest_title = route<&Plugin::guiSuggestTitle>,
                                              .show = route<&Plugin::guiShow>,
                                              .hide = route<&Plugin::guiHide>};

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
                                   .reset = Routes::route<&ClapPlugin::reset>,
                                   .process = Routes::route<&ClapPlugin::process>,
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
    query(state, CLAP_EXT_STATE);
    hostKnown.store(true, std::memory_order_release); // publishes the tables
}

/// True when the table is there with all these functions; logs `partial`, null for nothing, when
/// it is there without.
template <class Table, class... Functions>
bool ClapPlugin::isComplete(const Table* const& table, const char* partial,
                            Functions Table::*... functions) const noexcept {
    // Threads of the instance may be there before the host is known.
    if (!hostKnown.load(std::memory_order_acquire) || table == nullptr)
        return false;
    const bool complete = ((table->*functions != nullptr) && ...);
    if (!complete && partial != nullptr)
        log(CLAP_LOG_HOST_MISBEHAVING, partial);
    return complete;
}

bool ClapPlugin::canUseThreadCheck() const noexcept {
    using Table = clap_host_thread_check_t;
    return isComplete(threadCheck, nullptr, &Table::is_main_thread, &Table::is_audio_thread);
}

bool ClapPlugin::canUseTail() const noexcept {
    return isComplete(tail, "clap_host_tail is partially implemented", &clap_host_tail_t::changed);
}

bool ClapPlugin::canUseParams() const noexcept {
    using Table = clap_host_params_t;
    return isComplete(params, "clap_host_params is partially implemented", &Table::rescan,
                      &Table::clear, &Table::request_flush);
}

bool ClapPlugin::canUseGui() const noexcept {
    using Table = clap_host_gui_t;
    return isComplete(gui, "clap_host_gui is partially implemented", &Table::resize_hints_changed,
                      &Table::request_resize, &Table::request_show, &Table::request_hide,
                      &Table::closed);
}

bool ClapPlugin::canUseState() const noexcept {
    return isComplete(state, "clap_host_state is partially implemented",
                      &clap_host_state_t::mark_dirty);
}

void ClapPlugin::log(clap_log_severity severity, const char* message) const noexcept {
    if (hostLog != nullptr && hostLog->log != nullptr)
        hostLog->log(host, severity, message);
    else
        std::fprintf(stderr, "%s: %s\n", descriptor.name, message);
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
    const auto takeNext = [this]() -> std::function<void()> {
        const std::scoped_lock lock(callbacksMutex);
        if (callbacks.empty())
            return {};
        auto next = std::move(callbacks.front());
        callbacks.pop();
        return next;
    };
    while (const auto next = takeNext())
        guarded("a callback on the main thread failed", next);
}
