#include "adapter/IPlugCLAP.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <optional>
#include <utility>

namespace iplug {
namespace {

clap_event_param_value_t valueEvent(int index, double hostValue) {
    clap_event_param_value_t event{};
    event.header = {.size = sizeof event,
                    .time = 0,
                    .space_id = CLAP_CORE_EVENT_SPACE_ID,
                    .type = CLAP_EVENT_PARAM_VALUE,
                    .flags = 0};
    event.param_id = static_cast<clap_id>(index);
    event.note_id = -1;
    event.port_index = -1;
    event.channel = -1;
    event.key = -1;
    event.value = hostValue;
    return event;
}

clap_event_param_gesture_t gestureEvent(const ParamRecord& record) {
    clap_event_param_gesture_t event{};
    const bool begin = record.kind == ParamRecord::Kind::GestureBegin;
    event.header = {.size = sizeof event,
                    .time = 0,
                    .space_id = CLAP_CORE_EVENT_SPACE_ID,
                    .type = std::uint16_t(begin ? CLAP_EVENT_PARAM_GESTURE_BEGIN
                                                : CLAP_EVENT_PARAM_GESTURE_END),
                    .flags = 0};
    event.param_id = static_cast<clap_id>(record.index);
    return event;
}

template <class Event>
bool push(const clap_output_events_t& events, const Event& event) {
    return events.try_push(&events, &event.header);
}

bool pushRecord(const clap_output_events_t& events, const ParamRecord& record) {
    return record.kind == ParamRecord::Kind::Value
               ? push(events, valueEvent(record.index, record.value))
               : push(events, gestureEvent(record));
}

} // namespace

/// While it lives, OnAudioThread() is true on the thread that made it.
class IPlugCLAP::AudioCall {
public:
    explicit AudioCall(IPlugCLAP& adapter) noexcept : thread(adapter.audioThread) {
        thread.store(pthread_self(), std::memory_order_relaxed);
    }
    ~AudioCall() { thread.store(pthread_t{}, std::memory_order_relaxed); }
    AudioCall(const AudioCall&) = delete;
    AudioCall& operator=(const AudioCall&) = delete;

private:
    std::atomic<pthread_t>& thread;
};

// Relaxed serves: a thread can only find its own id here when it put it there itself.
bool IPlugCLAP::OnAudioThread() const noexcept {
    return pthread_equal(audioThread.load(std::memory_order_relaxed), pthread_self()) != 0;
}

void IPlugCLAP::reset() noexcept {
    const AudioCall audioCall(*this);
    guarded(nullptr, [this] { OnClear(); });
}

clap_process_status IPlugCLAP::process(const clap_process_t* block) noexcept {
    static_assert(CLAP_PROCESS_ERROR == 0, "what guarded returns of a failed block");
    if (block == nullptr)
        return CLAP_PROCESS_ERROR;
    const AudioCall audioCall(*this);
    return guarded(nullptr, [&]() -> clap_process_status {
        if (std::exchange(tailChangedPending, false))
            hostTailChanged();
        ProcessInputEvents(block->in_events);
        ProcessAudio(*block);
        ProcessOutputParams(block->out_events);
        return CLAP_PROCESS_CONTINUE; // always: a sleeping host would cut the delay line off
    });
}

void IPlugCLAP::ProcessAudio(const clap_process_t& block) {
    const std::uint32_t longest = buffers.Capacity();
    if (longest == 0)
        return; // never activated
    alignas(64) BlockBuffers::BriefScratch brief;
    for (std::uint32_t offset = 0; offset < block.frames_count; offset += longest) {
        const std::uint32_t frames = std::min(block.frames_count - offset, longest);
        buffers.Attach(block, offset, frames, brief);
        SetOutChansConnected(buffers.NOutputsConnected());
        ProcessBlock(buffers.Inputs(), buffers.Outputs(), static_cast<int>(frames));
        buffers.Deliver();
        if (block.frames_count - offset <= longest)
            break; // before the offset can wrap around
    }
    for (std::uint32_t port = 0; block.audio_outputs && port < block.audio_outputs_count; ++port)
        block.audio_outputs[port].constant_mask = 0;
}

void IPlugCLAP::paramsFlush(const clap_input_events_t* in,
                            const clap_output_events_t* out) noexcept {
    std::optional<AudioCall> audioCall;
    if (isActive())
        audioCall.emplace(*this);
    guarded(nullptr, [&] {
        ProcessInputEvents(in);
        ProcessOutputParams(out);
    });
}

void IPlugCLAP::ProcessInputEvents(const clap_input_events_t* events) {
    if (events == nullptr || events->size == nullptr || events->get == nullptr)
        return;
    const std::uint32_t count = events->size(events);
    for (std::uint32_t i = 0; i < count; ++i)
        if (const clap_event_header_t* event = events->get(events, i))
            ProcessInputEvent(*event);
}

void IPlugCLAP::ProcessInputEvent(const clap_event_header_t& event) {
    if (event.space_id != CLAP_CORE_EVENT_SPACE_ID || event.type != CLAP_EVENT_PARAM_VALUE ||
        event.size < sizeof(clap_event_param_value_t))
        return;
    const auto& change = reinterpret_cast<const clap_event_param_value_t&>(event);
    if (!IsParam(change.param_id) || std::isnan(change.value))
        return;
    const int index = static_cast<int>(change.param_id);
    IParam& param = GetParam(index);
    param.Set(param.FromHost(change.value));
    OnParamChange(index, ParamSource::Host, static_cast<int>(event.time));
}

void IPlugCLAP::ProcessOutputParams(const clap_output_events_t* events) {
    if (events == nullptr || events->try_push == nullptr)
        return;
    const auto present = [this](int index) {
        const IParam& param = GetParam(index);
        return param.ToHost(param.Value());
    };
    for (; const ParamRecord* record = outgoing.Peek(); outgoing.Pop()) {
        if (!pushRecord(*events, *record))
            return; // the host is full: the rest goes with the next call
        // Overtaken, by the host's own event or a load: the host ends with what holds now.
        if (record->kind == ParamRecord::Kind::Value && record->value != present(record->index))
            InformHostOfValues(1U << record->index);
    }
    if (untoldValues.load(std::memory_order_relaxed) == 0)
        return; // as in most blocks
    // acquire: the values that InformHostOfValues announced
    std::uint32_t untold = untoldValues.exchange(0, std::memory_order_acquire);
    for (; untold != 0; untold &= untold - 1) { // the lowest bit is done
        const int index = std::countr_zero(untold);
        if (!push(*events, valueEvent(index, present(index))))
            break;
    }
    if (untold != 0)
        InformHostOfValues(untold);
}

void IPlugCLAP::InformHostOfValues(std::uint32_t mask) noexcept {
    untoldValues.fetch_or(mask, std::memory_order_release); // publishes the values set before
}

void IPlugCLAP::BeginInformHostOfParamChange(int index) {
    QueueParamRecord({ParamRecord::Kind::GestureBegin, index, 0.0});
}

void IPlugCLAP::InformHostOfParamChange(int index, double normalizedValue) {
    const IParam& param = GetParam(index);
    const double value =
        param.Stepped() ? param.Constrain(param.FromNormalized(normalizedValue)) : normalizedValue;
    QueueParamRecord({ParamRecord::Kind::Value, index, value});
}

void IPlugCLAP::EndInformHostOfParamChange(int index) {
    QueueParamRecord({ParamRecord::Kind::GestureEnd, index, 0.0});
}

void IPlugCLAP::QueueParamRecord(const ParamRecord& record) {
    // A stopped host may not collect for minutes: what no longer fits goes as the last value alone.
    if (!outgoing.Push(record) && record.kind == ParamRecord::Kind::Value)
        InformHostOfValues(1U << record.index);
    FlushParamsIfNeeded();
}

void IPlugCLAP::FlushParamsIfNeeded() {
    const bool untold =
        outgoing.Peek() != nullptr || untoldValues.load(std::memory_order_relaxed) != 0;
    if (untold && !isProcessing() && canUseParams())
        AskOnMainThread(flushUnderWay, [this] { hostRequestFlush(); });
}

void IPlugCLAP::AskOnMainThread(std::atomic<bool>& underWay, std::function<void()> ask) {
    if (underWay.exchange(true))
        return;
    runOnMainThread([&underWay, ask = std::move(ask)] {
        underWay = false;
        ask();
    });
}

} // namespace iplug
