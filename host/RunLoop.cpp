#include "host/RunLoop.h"

#include <algorithm>
#include <poll.h>

namespace host {
namespace {

using Clock = EventSources::Clock;

short pollEvents(clap_posix_fd_flags_t flags) {
    return static_cast<short>(((flags & CLAP_POSIX_FD_READ) != 0 ? POLLIN : 0) |
                              ((flags & CLAP_POSIX_FD_WRITE) != 0 ? POLLOUT : 0));
}

/// An end of file counts as readable: a read tells.
clap_posix_fd_flags_t readyFlags(short events) {
    return ((events & (POLLIN | POLLHUP)) != 0 ? CLAP_POSIX_FD_READ : 0U) |
           ((events & POLLOUT) != 0 ? CLAP_POSIX_FD_WRITE : 0U) |
           ((events & (POLLERR | POLLNVAL)) != 0 ? CLAP_POSIX_FD_ERROR : 0U);
}

EventSources& sourcesOf(const Instance& instance) { return instance.callbacks().eventSources(); }

/// A callback of the same turn may have unregistered the timer.
void fireTimers(const Instance& instance) {
    const auto* table = instance.extension<clap_plugin_timer_support_t>(CLAP_EXT_TIMER_SUPPORT);
    for (const clap_id id : sourcesOf(instance).takeDue(Clock::now()))
        if (table != nullptr && sourcesOf(instance).hasTimer(id))
            table->on_timer(instance.plugin(), id);
}

/// Likewise with the descriptor, and with what it is watched for.
void reportFd(const Instance& instance, int fd, short events) {
    const auto* table =
        instance.extension<clap_plugin_posix_fd_support_t>(CLAP_EXT_POSIX_FD_SUPPORT);
    const auto flags = readyFlags(events) & sourcesOf(instance).flagsOf(fd);
    if (table != nullptr && flags != 0)
        table->on_fd(instance.plugin(), fd, flags);
}

} // namespace

struct RunLoop::PollSet {
    std::vector<pollfd> records;
    std::vector<const Instance*> owners; ///< as the records; null: the caller's own descriptor

    void add(const Instance* owner, int fd, short events) {
        records.push_back({fd, events, 0});
        owners.push_back(owner);
    }
};

RunLoop::PollSet RunLoop::pollSet() const {
    PollSet set;
    for (const int fd : mWakers)
        set.add(nullptr, fd, POLLIN);
    for (const Instance* instance : mInstances)
        for (const auto& [fd, flags] : sourcesOf(*instance).fds())
            set.add(instance, fd, pollEvents(flags));
    return set;
}

int RunLoop::timeoutMs(std::chrono::milliseconds maxWait) const {
    const auto now = Clock::now();
    auto wait = maxWait;
    for (const Instance* instance : mInstances)
        if (const auto due = sourcesOf(*instance).nextDue())
            wait = std::min(wait, std::chrono::ceil<std::chrono::milliseconds>(*due - now));
    return static_cast<int>(std::max(wait.count(), std::chrono::milliseconds::rep{0}));
}

void RunLoop::runOnce(std::chrono::milliseconds maxWait) {
    auto [records, owners] = pollSet();
    const int ready = poll(records.data(), records.size(), timeoutMs(maxWait));
    for (std::size_t i = 0; ready > 0 && i < records.size(); ++i)
        if (owners[i] != nullptr && records[i].revents != 0)
            reportFd(*owners[i], records[i].fd, records[i].revents);
    for (Instance* instance : mInstances) {
        fireTimers(*instance);
        instance->pumpMainThread();
    }
}

} // namespace host
