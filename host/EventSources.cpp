#include "host/EventSources.h"

#include <algorithm>

namespace host {

clap_id EventSources::addTimer(std::uint32_t periodMs) {
    const std::chrono::milliseconds period(std::max(periodMs, kShortestPeriodMs));
    mTimers.push_back({mNextTimer, period, Clock::now() + period});
    return mNextTimer++;
}

bool EventSources::removeTimer(clap_id id) {
    return std::erase_if(mTimers, [id](const Timer& timer) { return timer.id == id; }) > 0;
}

bool EventSources::hasTimer(clap_id id) const {
    return std::ranges::any_of(mTimers, [id](const Timer& timer) { return timer.id == id; });
}

std::optional<EventSources::Clock::time_point> EventSources::nextDue() const {
    if (mTimers.empty())
        return std::nullopt;
    return std::ranges::min(mTimers, {}, &Timer::due).due;
}

std::vector<clap_id> EventSources::takeDue(Clock::time_point now) {
    std::vector<clap_id> due;
    for (Timer& timer : mTimers)
        if (timer.due <= now) {
            due.push_back(timer.id);
            timer.due = now + timer.period;
        }
    return due;
}

bool EventSources::addFd(int fd, clap_posix_fd_flags_t flags) {
    if (fd < 0 || std::ranges::any_of(mFds, [fd](const Fd& known) { return known.fd == fd; }))
        return false;
    mFds.push_back({fd, flags});
    return true;
}

bool EventSources::modifyFd(int fd, clap_posix_fd_flags_t flags) {
    const auto known = std::ranges::find(mFds, fd, &Fd::fd);
    if (known == mFds.end())
        return false;
    known->flags = flags;
    return true;
}

bool EventSources::removeFd(int fd) {
    return std::erase_if(mFds, [fd](const Fd& known) { return known.fd == fd; }) > 0;
}

clap_posix_fd_flags_t EventSources::flagsOf(int fd) const {
    const auto known = std::ranges::find(mFds, fd, &Fd::fd);
    return known == mFds.end() ? 0 : known->flags;
}

} // namespace host
