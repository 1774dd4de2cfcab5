/// The timers and file descriptors that one plug-in has registered with its host.
#pragma once

#include "plugin/ClapRecords.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace host {

/// Kept here, served by RunLoop. [main]
class EventSources {
public:
    using Clock = std::chrono::steady_clock;

    /// Shorter periods are stretched to this one.
    static constexpr std::uint32_t kShortestPeriodMs = 5;

    struct Fd {
        int fd = -1;
        clap_posix_fd_flags_t flags = 0;
    };

    /// A repeating timer; its id is never used again.
    clap_id addTimer(std::uint32_t periodMs);
    bool removeTimer(clap_id id);
    [[nodiscard]] bool hasTimer(clap_id id) const;
    /// When the next timer is due, if there is any.
    [[nodiscard]] std::optional<Clock::time_point> nextDue() const;
    /// The timers due at `now`, each counting from `now` again: a late loop fires it only once.
    [[nodiscard]] std::vector<clap_id> takeDue(Clock::time_point now);

    /// False for a descriptor that is negative or there already.
    bool addFd(int fd, clap_posix_fd_flags_t flags);
    bool modifyFd(int fd, clap_posix_fd_flags_t flags);
    bool removeFd(int fd);
    [[nodiscard]] const std::vector<Fd>& fds() const { return mFds; }
    /// What a descriptor is watched for; 0 when it is not.
    [[nodiscard]] clap_posix_fd_flags_t flagsOf(int fd) const;

private:
    struct Timer {
        clap_id id;
        Clock::duration period;
        Clock::time_point due;
    };

    std::vector<Timer> mTimers;
    std::vector<Fd> mFds;
    clap_id mNextTimer = 0;
};

} // namespace host
