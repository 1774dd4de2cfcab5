#include "tests/faults/Fault.h"

#include <atomic>
#include <ctime>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

struct Step {
    std::atomic<std::int64_t> seconds, since; ///< since: by the unstepped clock
};

/// Shared with all children: made before the first of them.
Step& sStep = *static_cast<Step*>(
    mmap(nullptr, sizeof(Step), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));

std::int64_t unstepped() {
    timespec now{};
    syscall(SYS_clock_gettime, CLOCK_REALTIME, &now);
    return now.tv_sec;
}

} // namespace

void faults::stepClock(std::int64_t seconds) {
    sStep.since = unstepped();
    sStep.seconds += seconds;
}

#define TD_REPLACES extern "C" __attribute__((visibility("default")))

TD_REPLACES std::time_t time(std::time_t* result) noexcept {
    const std::time_t now = unstepped() + sStep.seconds;
    if (result != nullptr)
        *result = now;
    return now;
}

TD_REPLACES int fstat(int fd, struct stat* status) noexcept {
    const long result = syscall(SYS_newfstatat, fd, "", status, AT_EMPTY_PATH);
    if (result == 0 && status->st_mtime > sStep.since)
        status->st_mtime += sStep.seconds;
    return static_cast<int>(result);
}

TD_REPLACES int nanosleep(const timespec* wanted, timespec* left) {
    timespec asked = *wanted;
    if (asked.tv_sec == 0 && asked.tv_nsec == 100'000'000)
        asked.tv_nsec /= 20;
    return static_cast<int>(syscall(SYS_nanosleep, &asked, left));
}
