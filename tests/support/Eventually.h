#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace support {

/// Whether it becomes true in time, asked every other millisecond. The only way to wait for
/// anything that happens elsewhere: no sleep is long enough on a busy machine.
inline bool eventually(const std::function<bool()>& becomesTrue,
                       std::chrono::milliseconds atMost = std::chrono::seconds(20)) {
    const auto end = std::chrono::steady_clock::now() + atMost;
    while (!becomesTrue()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace support
