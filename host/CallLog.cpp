#include "host/CallLog.h"

#include <algorithm>
#include <iterator>

namespace host {

CallLog::CallLog() { kept.reserve(kCapacity); }

void CallLog::add(const CallRecord& record) noexcept {
    const std::lock_guard lock(mutex);
    ++counts[static_cast<std::size_t>(record.callback)];
    const bool isThreadCheck =
        record.callback == Callback::IsMainThread || record.callback == Callback::IsAudioThread;
    if (!isThreadCheck && kept.size() < kCapacity)
        kept.push_back(record);
}

void CallLog::clear() {
    const std::lock_guard lock(mutex);
    kept.clear();
    counts.fill(0);
}

std::size_t CallLog::count(Callback callback) const {
    const std::lock_guard lock(mutex);
    return counts[static_cast<std::size_t>(callback)];
}

std::vector<CallRecord> CallLog::records(Callback callback) const {
    const std::lock_guard lock(mutex);
    std::vector<CallRecord> found;
    std::copy_if(kept.begin(), kept.end(), std::back_inserter(found),
                 [callback](const CallRecord& record) { return record.callback == callback; });
    return found;
}

std::vector<CallRecord> CallLog::records() const {
    const std::lock_guard lock(mutex);
    return kept;
}

} // namespace host
