#include "tests/faults/Fault.h"

#include <cerrno>
#include <ctime>
#include <dlfcn.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

thread_local int tLockTries = 0;

/// How far this thread's monotonic clock is ahead of the others', ns: what it has not waited.
thread_local std::int64_t tAhead = 0;

std::int64_t nanoseconds(const timespec& time) {
    return time.tv_sec * std::int64_t{1'000'000'000} + time.tv_nsec;
}
timespec timespecOf(std::int64_t ns) {
    return {.tv_sec = ns / 1'000'000'000, .tv_nsec = ns % 1'000'000'000};
}

} // namespace

int faults::lockTries() { return tLockTries; }

#define TD_REPLACES extern "C" __attribute__((visibility("default")))

TD_REPLACES int clock_gettime(clockid_t clock, timespec* now) noexcept {
    const long result = syscall(SYS_clock_gettime, clock, now);
    if (clock == CLOCK_MONOTONIC)
        *now = timespecOf(nanoseconds(*now) + tAhead);
    return static_cast<int>(result);
}

TD_REPLACES int pthread_mutex_trylock(pthread_mutex_t* mutex) noexcept {
    using Try = int(pthread_mutex_t*);
    static auto* const tryLock = reinterpret_cast<Try*>(dlsym(RTLD_NEXT, "pthread_mutex_trylock"));
    ++tLockTries;
    return tryLock(mutex);
}

TD_REPLACES int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                       clockid_t clock, const timespec* until) {
    using Wait = int(pthread_cond_t*, pthread_mutex_t*, clockid_t, const timespec*);
    static auto* const wait = reinterpret_cast<Wait*>(dlsym(RTLD_NEXT, "pthread_cond_clockwait"));
    timespec now{};
    clock_gettime(clock, &now);
    const std::int64_t skipped = (nanoseconds(*until) - nanoseconds(now)) * 19 / 20;
    const timespec sooner = timespecOf(nanoseconds(*until) - tAhead - skipped);
    const int result = wait(condition, mutex, clock, &sooner);
    if (result == ETIMEDOUT)
        tAhead += skipped;
    return result;
}
