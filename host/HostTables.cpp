// The C side of HostCallbacks: function tables that record the call and answer.
#include "adapter/ClapRecords.h"
#include "host/HostCallbacks.h"

namespace host {
namespace {

HostCallbacks& self(const clap_host_t* host) {
    return *static_cast<HostCallbacks*>(host->host_data);
}

template <Callback kCallback>
void noteOnly(const clap_host_t* host) {
    self(host).note(kCallback);
}

template <Callback kCallback>
void noteValue(const clap_host_t* host, std::uint32_t value) {
    self(host).note(kCallback, value);
}

void onRequestCallback(const clap_host_t* host) {
    self(host).note(Callback::RequestCallback);
    self(host).requestCallback();
}

void log(const clap_host_t* host, clap_log_severity severity, const char* message) {
    self(host).note(Callback::Log, static_cast<std::uint32_t>(severity), message);
}

bool isMainThread(const clap_host_t* host) {
    self(host).note(Callback::IsMainThread);
    return self(host).isMainThread();
}

bool isAudioThread(const clap_host_t* host) {
    self(host).note(Callback::IsAudioThread);
    return HostCallbacks::isAudioThread();
}

void paramsClear(const clap_host_t* host, clap_id id, clap_param_clear_flags /*flags*/) {
    self(host).note(Callback::ParamsClear, id);
}

bool isRescanFlagSupported(const clap_host_t* host, std::uint32_t flag) {
    self(host).note(Callback::AudioPortsIsRescanFlagSupported, flag);
    return true;
}

bool requestResize(const clap_host_t* host, std::uint32_t width, std::uint32_t height) {
    self(host).note(Callback::GuiRequestResize, width, height);
    const auto& handler = self(host).gui().requestResize;
    return !handler || handler(width, height);
}

template <Callback kCallback, std::function<bool()> GuiHandlers::*kHandler>
bool requestVisibility(const clap_host_t* host) {
    self(host).note(kCallback);
    const auto& handler = self(host).gui().*kHandler;
    return !handler || handler();
}

void resizeHintsChanged(const clap_host_t* host) {
    self(host).note(Callback::GuiResizeHintsChanged);
    if (const auto& handler = self(host).gui().resizeHintsChanged)
        handler();
}

void guiClosed(const clap_host_t* host, bool wasDestroyed) {
    self(host).note(Callback::GuiClosed, wasDestroyed ? 1 : 0);
    if (const auto& handler = self(host).gui().closed)
        handler(wasDestroyed);
}

constexpr clap_host_log_t kLog{log};
constexpr clap_host_thread_check_t kThreadCheck{isMainThread, isAudioThread};
constexpr clap_host_params_t kParams{noteValue<Callback::ParamsRescan>, paramsClear,
                                     noteOnly<Callback::ParamsRequestFlush>};
constexpr clap_host_state_t kState{noteOnly<Callback::StateMarkDirty>};
constexpr clap_host_latency_t kLatency{noteOnly<Callback::LatencyChanged>};
constexpr clap_host_tail_t kTail{noteOnly<Callback::TailChanged>};
constexpr clap_host_audio_ports_t kAudioPorts{isRescanFlagSupported,
                                              noteValue<Callback::AudioPortsRescan>};
constexpr clap_host_gui_t kGui{
    resizeHintsChanged, requestResize,
    requestVisibility<Callback::GuiRequestShow, &GuiHandlers::requestShow>,
    requestVisibility<Callback::GuiRequestHide, &GuiHandlers::requestHide>, guiClosed};
// This host has neither timers nor a watch on descriptors to give; it only looks complete.
constexpr clap_host_timer_support_t kTimerSupport{
    [](const clap_host_t*, std::uint32_t, clap_id*) { return false; },
    [](const clap_host_t*, clap_id) { return false; }};
constexpr clap_host_posix_fd_support_t kPosixFdSupport{
    [](const clap_host_t*, int, clap_posix_fd_flags_t) { return false; },
    [](const clap_host_t*, int, clap_posix_fd_flags_t) { return false; },
    [](const clap_host_t*, int) { return false; }};

/// Stands in for any table whose functions are all null.
constexpr void* kEmptyTable[8]{};

struct Extension {
    std::string_view id;
    const void* table;
};

constexpr Extension kExtensions[]{
    {CLAP_EXT_LOG, &kLog},
    {CLAP_EXT_THREAD_CHECK, &kThreadCheck},
    {CLAP_EXT_PARAMS, &kParams},
    {CLAP_EXT_STATE, &kState},
    {CLAP_EXT_LATENCY, &kLatency},
    {CLAP_EXT_TAIL, &kTail},
    {CLAP_EXT_AUDIO_PORTS, &kAudioPorts},
    {CLAP_EXT_GUI, &kGui},
    {CLAP_EXT_TIMER_SUPPORT, &kTimerSupport},
    {CLAP_EXT_POSIX_FD_SUPPORT, &kPosixFdSupport},
};

const void* getExtension(const clap_host_t* host, const char* id) {
    self(host).note(Callback::GetExtension, 0, id);
    return self(host).extension(id);
}

} // namespace

HostCallbacks::HostCallbacks() {
    clapHost.clap_version = {1, 2, 10};
    clapHost.host_data = this;
    clapHost.name = "Tessella test host";
    clapHost.vendor = "Orlavenko";
    clapHost.url = "";
    clapHost.version = "1.0";
    clapHost.get_extension = getExtension;
    clapHost.request_restart = noteOnly<Callback::RequestRestart>;
    clapHost.request_process = noteOnly<Callback::RequestProcess>;
    clapHost.request_callback = onRequestCallback;
}

const void* HostCallbacks::extension(const char* id) const noexcept {
    if (id == nullptr || withholdsAll)
        return nullptr;
    for (const Extension& row : kExtensions)
        if (row.id == id)
            return partialIds.contains(row.id) ? static_cast<const void*>(kEmptyTable) : row.table;
    return nullptr;
}

} // namespace host
