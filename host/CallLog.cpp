#include "host/CallLog.h"

#include <algorithm>
#include <iterator>

namespace host {

CallLog::CallLog() { mRecords.reserve(kCapacity); }

void CallLog::add(const CallRecord& record) noexcept {
    const std::lock_guard lock(mMutex);
    ++mCounts[static_cast<std::size_t>(record.callback)];
    const bool isThreadCheck =
        record.callback == Callback::IsMainThread || record.callback == Callback::IsAudioThread;
    if (!isThreadCheck && mRecords.size() < kCapacity)
        mRecords.push_back(record);
}

void CallLog::clear() {
    const std::lock_guard lock(mMutex);
    mRecords.clear();
    mCounts.fill(0);
}

std::size_t CallLog::count(Callback callback) const {
    const std::lock_guard lock(mMutex);
    return mCounts[static_cast<std::size_t>(callback)];
}

std::vector<CallRecord> CallLog::records(Callback callback) const {
    const std::lock_guard lock(mMutex);
    std::vector<CallRecord> found;
    std::copy_if(mRecords.begin(), mRecords.end(), std::back_inserter(found),
                 [callback](const CallRecord& record) { return record.callback == callback; });
    return found;
}

std::vector<CallRecord> CallLog::records() const {
    const std::lock_guard lock(mMutex);
    return mRecords;
}

} // namespace host
