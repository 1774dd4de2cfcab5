/// A list of CLAP events, to hand in to a plug-in or to collect what comes out.
#pragma once

#include <clap/events.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace host {

/// Holds copies of events of any kind and size, in the order they were added; sorting by time is
/// the caller's business (and leaving it out is a test). All storage is taken at construction:
/// adding to a full list is refused, as a host out of memory would. One thread at a time.
class EventList {
public:
    explicit EventList(std::size_t maxEvents = 1024, std::size_t maxBytes = 64 * 1024);
    EventList(const EventList&) = delete;
    EventList& operator=(const EventList&) = delete;

    /// A value for a parameter: global (note id, port, channel and key −1), null cookie, in the
    /// host's units. `time` is in samples from the block's start. False when full.
    bool addParamValue(clap_id id, double value, std::uint32_t time = 0);
    /// Copies `event.size` bytes, so any event of any space can be given. False when full.
    bool add(const clap_event_header_t& event);
    void clear();

    [[nodiscard]] std::uint32_t size() const;
    [[nodiscard]] bool empty() const { return size() == 0; }
    /// Null beyond the end. Valid until clear().
    [[nodiscard]] const clap_event_header_t* at(std::uint32_t index) const;
    /// The event as a parameter value; null when it is another kind or beyond the end.
    [[nodiscard]] const clap_event_param_value_t* paramValueAt(std::uint32_t index) const;

    /// The CLAP faces of this list, valid as long as it is.
    [[nodiscard]] const clap_input_events_t* input() const { return &clapInput; }
    [[nodiscard]] const clap_output_events_t* output() { return &clapOutput; }

private:
    std::vector<std::uint64_t> words; ///< 8-byte units: every event stays aligned
    std::vector<std::size_t> starts;
    std::size_t used = 0;
    std::size_t count = 0;
    clap_input_events_t clapInput{};
    clap_output_events_t clapOutput{};
};

} // namespace host
