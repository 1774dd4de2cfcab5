#include "host/HostCallbacks.h"

#include "host/AudioThreadScope.h"

#include <cstdio>

namespace host {

bool HostCallbacks::isMainThread() const {
    return std::this_thread::get_id() == mainThread && !AudioThreadScope::isInside();
}

bool HostCallbacks::isAudioThread() { return AudioThreadScope::isInside(); }

CallRecord HostCallbacks::recordOf(Callback callback, std::uint32_t value) const noexcept {
    CallRecord record;
    record.callback = callback;
    record.value = value;
    record.thread = std::this_thread::get_id();
    record.fromMain = isMainThread();
    record.fromAudio = isAudioThread();
    return record;
}

void HostCallbacks::note(Callback callback, std::uint32_t value, const char* text) noexcept {
    CallRecord record = recordOf(callback, value);
    if (text != nullptr)
        std::snprintf(record.text.data(), record.text.size(), "%s", text);
    callLog.add(record);
}

void HostCallbacks::note(Callback callback, std::uint32_t value, std::uint32_t value2) noexcept {
    CallRecord record = recordOf(callback, value);
    record.value2 = value2;
    callLog.add(record);
}

} // namespace host
