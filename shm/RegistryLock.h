/// The only ways to the registry's lock, and how long a thread may wait for it.
///
/// A lock is not held without a segment (null stands for a closed handle), nor of a segment that
/// has lost its magic word: its lock may be any bytes then.
#pragma once

#include "shm/Slot.h"

#include <atomic>
#include <pthread.h>

namespace shm {

/// The lock as the C library knows it.
inline pthread_mutex_t& NativeMutex(RegistrySegment& segment) {
    return reinterpret_cast<pthread_mutex_t&>(segment.mutex);
}

/// How often a patient lock tries again, 10 ms apart.
inline constexpr int kLockRetries = 50;

/// One try, no wait: the only lock that code under ProcessBlock may take. [any]
class TryLock {
public:
    explicit TryLock(RegistrySegment* locked) noexcept;
    ~TryLock();
    TryLock(const TryLock&) = delete;
    TryLock& operator=(const TryLock&) = delete;

    /// Whether the lock is held; test it before touching a slot.
    explicit operator bool() const noexcept { return held; }
    /// Not held for another reason than that somebody else holds it: the mutex is no mutex.
    [[nodiscard]] bool IsBroken() const noexcept { return broken; }

protected:
    void Try() noexcept;

    RegistrySegment* const segment; ///< null: there is nothing to lock

private:
    bool held = false;
    bool broken = false;
};

/// Waits up to 50 × 10 ms, less where a LockBudget says so. The holder may have died: nobody waits
/// without end. Never on the audio thread. [main, heartbeat, ui]
class PatientLock : public TryLock {
public:
    explicit PatientLock(RegistrySegment* locked);
};

/// While it lives, all patient locks of the calling thread together wait no longer than so many
/// times 10 ms, and not once `going` is false. Without one each waits its full half second: too
/// long where one after the other is taken. Does not nest. [main, heartbeat, ui]
class LockBudget {
public:
    explicit LockBudget(int pauses = kLockRetries) noexcept;
    explicit LockBudget(const std::atomic<bool>& going, int pauses = kLockRetries) noexcept;
    ~LockBudget();
    LockBudget(const LockBudget&) = delete;
    LockBudget& operator=(const LockBudget&) = delete;

    /// It is used up: a lock has not been had.
    [[nodiscard]] bool IsOver() const noexcept { return pausesLeft <= 0; }
    /// Waits 10 ms; false, at once, when the calling thread's budget is used up.
    static bool Pause();

private:
    const std::atomic<bool>& going;
    int pausesLeft;
};

} // namespace shm
