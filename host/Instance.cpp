#include "host/Instance.h"

#include "host/AudioThreadScope.h"

namespace host {
namespace {

const clap_plugin_t* create(const Library& library, const HostCallbacks& callbacks,
                            const char* pluginId) {
    if (pluginId == nullptr && library.descriptor() != nullptr)
        pluginId = library.descriptor()->id;
    if (pluginId == nullptr)
        throw HostError("the library offers no plug-in");
    const clap_plugin_factory_t& factory = library.factory();
    const clap_plugin_t* plugin = factory.create_plugin(&factory, callbacks.record(), pluginId);
    if (plugin == nullptr)
        throw HostError(std::string("the library cannot create plug-in ") + pluginId);
    return plugin;
}

constexpr int kMaxPumpRounds = 100;

} // namespace

Instance::Instance(const Library& library, HostCallbacks& callbacks, const char* pluginId)
    : Instance(callbacks, create(library, callbacks, pluginId)) {}

Instance::Instance(HostCallbacks& callbacks, const clap_plugin_t* plugin)
    : hostCallbacks(callbacks), clapPlugin(plugin) {}

Instance::~Instance() {
    stopProcessing();
    deactivate();
    clapPlugin->destroy(clapPlugin);
}

bool Instance::init() { return clapPlugin->init(clapPlugin); }

bool Instance::activate(double sampleRate, std::uint32_t minFrames, std::uint32_t maxFrames) {
    active = clapPlugin->activate(clapPlugin, sampleRate, minFrames, maxFrames);
    return active;
}

void Instance::deactivate() {
    if (!active)
        return;
    stopProcessing();
    clapPlugin->deactivate(clapPlugin);
    active = false;
}

bool Instance::startProcessing() {
    const AudioThreadScope scope;
    processing = clapPlugin->start_processing(clapPlugin);
    return processing;
}

void Instance::stopProcessing() {
    if (!processing)
        return;
    const AudioThreadScope scope;
    clapPlugin->stop_processing(clapPlugin);
    processing = false;
}

void Instance::reset() {
    const AudioThreadScope scope;
    clapPlugin->reset(clapPlugin);
}

clap_process_status Instance::process(AudioBuffers& audio, std::uint32_t frames,
                                      const EventList& in, EventList& out) {
    clap_process_t block{};
    block.steady_time = -1;
    block.frames_count = frames;
    block.audio_inputs = audio.inputRecords().data();
    block.audio_outputs = audio.outputRecords().data();
    block.audio_inputs_count = static_cast<std::uint32_t>(audio.inputRecords().size());
    block.audio_outputs_count = static_cast<std::uint32_t>(audio.outputRecords().size());
    block.in_events = in.input();
    block.out_events = out.output();
    const AudioThreadScope scope;
    return clapPlugin->process(clapPlugin, &block);
}

clap_process_status Instance::process(AudioBuffers& audio, std::uint32_t frames) {
    droppedOut.clear();
    return process(audio, frames, noEvents, droppedOut);
}

int Instance::pumpMainThread() {
    int rounds = 0;
    while (rounds < kMaxPumpRounds && hostCallbacks.takeCallbackRequest()) {
        clapPlugin->on_main_thread(clapPlugin);
        ++rounds;
    }
    return rounds;
}

} // namespace host
