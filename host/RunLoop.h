/// The host's main thread at work: timers, file descriptors and main-thread calls.
#pragma once

#include "host/Instance.h"

#include <chrono>
#include <vector>

namespace host {

/// Serves all instances added, one turn a call. [main]
class RunLoop {
public:
    /// The instance must be removed before it is destroyed.
    void add(Instance& instance) { mInstances.push_back(&instance); }
    void remove(const Instance& instance) { std::erase(mInstances, &instance); }
    /// Readable data on `fd` ends a wait as well; reading it is the caller's business.
    void wakeOn(int fd) { mWakers.push_back(fd); }

    /// Waits until a descriptor is ready or a timer due, at most `maxWait`, or for a signal; then
    /// calls on_fd, on_timer and on_main_thread of every plug-in that is due for it. What other
    /// threads request does not end the wait: maxWait is how late that may be noticed.
    void runOnce(std::chrono::milliseconds maxWait);

private:
    struct PollSet;

    [[nodiscard]] PollSet pollSet() const;
    [[nodiscard]] int timeoutMs(std::chrono::milliseconds maxWait) const;

    std::vector<Instance*> mInstances;
    std::vector<int> mWakers;
};

} // namespace host
