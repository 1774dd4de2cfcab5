/// The only two ways to the registry lock. Both take a null segment for "closed", and one that has
/// lost its magic word for no registry any more: not locked then, its lock may be any bytes.
///
/// A mutex that is broken, and not only busy, counts as busy for TryLock: raising an exception
/// allocates. PatientLock raises boost's lock_exception then. The holder may have died: nobody
/// waits without end.
#pragma once

#include "shm/Patience.h"
#include "shm/SlotFields.h"

#include <boost/interprocess/sync/scoped_lock.hpp>
#include <pthread.h>

namespace shm {

/// The lock as the C library knows it.
inline pthread_mutex_t& NativeMutex(RegistrySegment& segment) {
    return reinterpret_cast<pthread_mutex_t&>(segment.mutex);
}

/// One try, no wait: the only lock that code under ProcessBlock may take. [any]
class TryLock {
public:
    explicit TryLock(RegistrySegment* segment) : lock(Try(segment)) {}

    /// Whether the lock is held; test it before touching a slot.
    explicit operator bool() const { return lock.owns(); }

protected:
    using ScopedLock = boost::interprocess::scoped_lock<boost::interprocess::interprocess_mutex>;
    static ScopedLock Try(RegistrySegment* segment) {
        if (!segment || !IsReady(*segment))
            return {};
        if (pthread_mutex_trylock(&NativeMutex(*segment)) != 0)
            return {segment->mutex, boost::interprocess::defer_lock};
        return {segment->mutex, boost::interprocess::accept_ownership};
    }

    ScopedLock lock;
};

/// Waits up to 50 × 10 ms, less where a Patience says so. Never on the audio thread. [main,
/// heartbeat, ui]
class PatientLock : private TryLock {
public:
    explicit PatientLock(RegistrySegment* segment) : TryLock(segment) {
        const bool exists = lock.mutex() != nullptr;
        for (int retry = 0; exists && !lock.owns() && retry < kLockRetries && PauseForLock();
             ++retry)
            lock.try_lock();
    }

    using TryLock::operator bool;
};

} // namespace shm
