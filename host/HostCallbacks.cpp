#include "host/HostCallbacks.h"

#include "host/AudioThreadScope.h"

#include <cstdio>

namespace host {

bool HostCallbacks::isMainThread() const {
    return std::this_thread::get_id() == mMainThread && !AudioThreadScope::isInside();
}

bool HostCallbacks::isAudioThread() { return AudioThreadScope::isInside(); }

void HostCallbacks::note(Callback callback, std::uint32_t value, const char* text) noexcept {
    CallRecord record;
    record.callback = callback;
    record.value = value;
    record.thread = std::this_thread::get_id();
    record.fromMain = isMainThread();
    record.fromAudio = isAudioThread();
    if (text != nullptr)
        std::snprintf(record.text.data(), record.text.size(), "%s", text);
    mCalls.add(record);
}

} // namespace host
