#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace support {

/// Whether it becomes true, asked every other millisecond, as often as goes into that time: on a
/// busy machine it takes longer. The only way to wait for anything that happens elsewhere.
inline bool eventually(const std::function<bool()>& becomesTrue,
                       std::chrono::milliseconds atMost = std::chrono::seconds(20)) {
    constexpr std::chrono::milliseconds kPause{2};
    for (auto looks = atMost / kPause; !becomesTrue(); --looks) {
        if (looks <= 0)
            return false;
        std::this_thread::sleep_for(kPause);
    }
    return true;
}

} // namespace support
