#include "host/EventList.h"

#include <cstring>

namespace host {
namespace {

std::uint32_t inputSize(const clap_input_events_t* list) {
    return static_cast<const EventList*>(list->ctx)->size();
}

const clap_event_header_t* inputGet(const clap_input_events_t* list, std::uint32_t index) {
    return static_cast<const EventList*>(list->ctx)->at(index);
}

bool outputPush(const clap_output_events_t* list, const clap_event_header_t* event) {
    return event != nullptr && static_cast<EventList*>(list->ctx)->add(*event);
}

} // namespace

EventList::EventList(std::size_t maxEvents, std::size_t maxBytes)
    : words(maxBytes / sizeof(std::uint64_t)),
      starts(maxEvents), clapInput{this, inputSize, inputGet}, clapOutput{this, outputPush} {}

bool EventList::addParamValue(clap_id id, double value, std::uint32_t time) {
    clap_event_param_value_t event{};
    event.header = {sizeof event, time, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_PARAM_VALUE, 0};
    event.param_id = id;
    event.note_id = event.port_index = event.channel = event.key = -1;
    event.value = value;
    return add(event.header);
}

bool EventList::add(const clap_event_header_t& event) {
    constexpr std::size_t kUnit = sizeof(std::uint64_t);
    const std::size_t needed = (event.size + kUnit - 1) / kUnit;
    if (count == starts.size() || needed > words.size() - used)
        return false;
    std::memcpy(&words[used], &event, event.size);
    starts[count++] = used;
    used += needed;
    return true;
}

void EventList::clear() { used = count = 0; }

std::uint32_t EventList::size() const { return static_cast<std::uint32_t>(count); }

const clap_event_header_t* EventList::at(std::uint32_t index) const {
    if (index >= count)
        return nullptr;
    return reinterpret_cast<const clap_event_header_t*>(&words[starts[index]]);
}

const clap_event_param_value_t* EventList::paramValueAt(std::uint32_t index) const {
    const clap_event_header_t* event = at(index);
    const bool matches = event != nullptr && event->space_id == CLAP_CORE_EVENT_SPACE_ID &&
                         event->type == CLAP_EVENT_PARAM_VALUE;
    return matches ? reinterpret_cast<const clap_event_param_value_t*>(event) : nullptr;
}

} // namespace host
