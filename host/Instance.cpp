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
    : mCallbacks(callbacks), mPlugin(plugin) {}

Instance::~Instance() {
    stopProcessing();
    deactivate();
    mPlugin->destroy(mPlugin);
}

bool Instance::init() { return mPlugin->init(mPlugin); }

bool Instance::activate(double sampleRate, std::uint32_t minFrames, std::uint32_t maxFrames) {
    mActive = mPlugin->activate(mPlugin, sampleRate, minFrames, maxFrames);
    return mActive;
}

void Instance::deactivate() {
    if (!mActive)
        return;
    mPlugin->deactivate(mPlugin);
    mActive = false;
}

bool Instance::startProcessing() {
    const AudioThreadScope scope;
    mProcessing = mPlugin->start_processing(mPlugin);
    return mProcessing;
}

void Instance::stopProcessing() {
    if (!mProcessing)
        return;
    const AudioThreadScope scope;
    mPlugin->stop_processing(mPlugin);
    mProcessing = false;
}

void Instance::reset() {
    const AudioThreadScope scope;
    mPlugin->reset(mPlugin);
}

clap_process_status Instance::process(AudioBuffers& audio, std::uint32_t frames,
                                      const EventList& in, EventList& out, ProcessTime time) {
    clap_process_t block{};
    block.steady_time = time.steadyTime;
    block.frames_count = frames;
    block.transport = time.transport;
    block.audio_inputs = audio.inputRecords().data();
    block.audio_outputs = audio.outputRecords().data();
    block.audio_inputs_count = static_cast<std::uint32_t>(audio.inputRecords().size());
    block.audio_outputs_count = static_cast<std::uint32_t>(audio.outputRecords().size());
    block.in_events = in.input();
    block.out_events = out.output();
    const AudioThreadScope scope;
    return mPlugin->process(mPlugin, &block);
}

clap_process_status Instance::process(AudioBuffers& audio, std::uint32_t frames) {
    mDroppedOut.clear();
    return process(audio, frames, mNoEvents, mDroppedOut);
}

int Instance::pumpMainThread() {
    int rounds = 0;
    while (rounds < kMaxPumpRounds && mCallbacks.takeCallbackRequest()) {
        mPlugin->on_main_thread(mPlugin);
        ++rounds;
    }
    return rounds;
}

} // namespace host
