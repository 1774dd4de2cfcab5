/// The CLAP adapter: translates between the host's calls and the instance's operations.
#pragma once

#include "adapter/BlockBuffers.h"
#include "adapter/ClapPlugin.h"
#include "adapter/IPlugAPIBase.h"
#include "adapter/IPlugProcessor.h"
#include "adapter/ParamQueue.h"

#include <pthread.h>

namespace iplug {

/// What the factory hands to a new instance.
struct InstanceInfo {
    const clap_plugin_descriptor_t* descriptor; ///< copied by the instance
    const clap_host_t* host;
};

/// Maps the CLAP plug-in interface onto one instance. Nothing is decided here: each call becomes
/// calls of the instance's virtual operations. No exception leaves it.
class IPlugCLAP : public IPlugAPIBase, public IPlugProcessor, public ClapPlugin {
public:
    IPlugCLAP(const InstanceInfo& info, const Config& config,
              const SampleConversions& conversions = kPlainConversions);

    // To the host, see IEditorDelegate (IPlugCLAPGui.cpp).
    bool EditorResize(int widthPx, int heightPx) override;
    void NoteHostWindowSize(int widthPx, int heightPx) override;

    // To the host, see IPlugAPIBase.
    void BeginInformHostOfParamChange(int index) override;
    void InformHostOfParamChange(int index, double normalizedValue) override;
    void EndInformHostOfParamChange(int index) override;
    void InformHostOfValues(std::uint32_t mask) noexcept override;
    void FlushParamsIfNeeded() override;
    void MarkDirty() override;

protected:
    [[nodiscard]] bool OnAudioThread() const noexcept override;

    // Core
    bool init() noexcept override;
    bool activate(double sampleRate, std::uint32_t minFrames,
                  std::uint32_t maxFrames) noexcept override;
    void deactivate() noexcept override;
    void onMainThread() noexcept override;
    void reset() noexcept override;
    clap_process_status process(const clap_process_t* block) noexcept override;

    // Audio ports, as the channel I/O text of the configuration says
    std::uint32_t audioPortsCount(bool isInput) const noexcept override;
    bool audioPortsInfo(std::uint32_t index, bool isInput,
                        clap_audio_port_info_t* info) const noexcept override;
    std::uint32_t audioPortsConfigCount() const noexcept override;
    bool audioPortsGetConfig(std::uint32_t index,
                             clap_audio_ports_config_t* config) const noexcept override;
    bool audioPortsSetConfig(clap_id configId) noexcept override;

    // Latency, tail, render mode
    std::uint32_t latencyGet() const noexcept override;
    bool renderSetMode(clap_plugin_render_mode mode) noexcept override;

    // State (IPlugCLAPState.cpp)
    bool stateSave(const clap_ostream_t* stream) noexcept override;
    bool stateLoad(const clap_istream_t* stream) noexcept override;

    // GUI (IPlugCLAPGui.cpp)
    bool guiIsApiSupported(const char* api, bool floating) noexcept override;
    bool guiGetPreferredApi(const char** api, bool* floating) noexcept override;
    bool guiCreate(const char* api, bool floating) noexcept override;
    void guiDestroy() noexcept override;
    bool guiSetScale(double scale) noexcept override;
    bool guiGetSize(std::uint32_t* width, std::uint32_t* height) noexcept override;
    bool guiCanResize() const noexcept override;
    bool guiGetResizeHints(clap_gui_resize_hints_t* hints) noexcept override;
    bool guiAdjustSize(std::uint32_t* width, std::uint32_t* height) noexcept override;
    bool guiSetSize(std::uint32_t width, std::uint32_t height) noexcept override;
    bool guiSetParent(const clap_window_t* window) noexcept override;
    bool guiShow() noexcept override;
    bool guiHide() noexcept override;

    // Parameters
    std::uint32_t paramsCount() const noexcept override;
    bool paramsInfo(std::uint32_t index, clap_param_info_t* info) const noexcept override;
    bool paramsValue(clap_id id, double* value) noexcept override;
    bool paramsValueToText(clap_id id, double value, char* display,
                           std::uint32_t size) noexcept override;
    bool paramsTextToValue(clap_id id, const char* display, double* value) noexcept override;
    void paramsFlush(const clap_input_events_t* in,
                     const clap_output_events_t* out) noexcept override;

private:
    class AudioCall; // marks the calling thread as the audio thread while it lives

    [[nodiscard]] bool IsParam(clap_id id) const noexcept {
        return id < static_cast<clap_id>(NParams());
    }

    void ProcessInputEvents(const clap_input_events_t* events);
    void ProcessInputEvent(const clap_event_header_t& event);
    void ProcessAudio(const clap_process_t& block);
    void ProcessOutputParams(const clap_output_events_t* events);
    void QueueParamRecord(const ParamRecord& record);
    void OnRestoreState() const;

    /// Calls the host on its main thread. One call at a time is under way: a host that serves
    /// callbacks late would have to queue thousands. [any but audio]
    void AskOnMainThread(std::atomic<bool>& underWay, std::function<void()> ask);

    bool OpenInParent() noexcept;
    void CloseEditor() noexcept;

    const Config staticConfig;
    BlockBuffers buffers;
    /// Parameters whose present value the host has still to hear of, a bit each. [any]
    std::atomic<std::uint32_t> untoldValues = 0;
    bool tailChangedPending = false;                  ///< set by activate, told by the next process
    std::atomic<pthread_t> audioThread = pthread_t{}; ///< inside an audio call, else zero
    std::atomic<bool> flushUnderWay = false, markDirtyUnderWay = false; ///< to the host

    void* parentWindow = nullptr; ///< the host's window id, kept while hidden. [main]
    bool windowOpen = false;      ///< [main]
    /// The size that the host last knew, pixels; 0 before it knows any. [main, ui]
    std::atomic<editor::SizePx> toldSize = editor::SizePx{};
    std::atomic<pthread_t> resizeAsker = pthread_t{}; ///< inside the host's resize request, or zero
    ParamQueue outgoing; ///< writer: the editor; reader: process or flush
};

} // namespace iplug
