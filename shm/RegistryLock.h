/// The only two ways to the registry lock. Both take a null segment for "closed": not locked then.
///
/// Constructors raise boost's lock_exception when a try fails for a reason other than a busy
/// mutex. The holder may have died: nobody waits without end.
#pragma once

#include "shm/Patience.h"
#include "shm/SegmentLayout.h"

#include <boost/interprocess/sync/scoped_lock.hpp>

namespace shm {

/// One try, no wait: the only lock that code under ProcessBlock may take. [any]
class TryLock {
public:
    explicit TryLock(RegistrySegment* segment)
        : lock(segment ? ScopedLock(segment->mutex, boost::interprocess::try_to_lock)
                       : ScopedLock()) {}

    /// Whether the lock is held; test it before touching a slot.
    explicit operator bool() const { return lock.owns(); }

protected:
    using ScopedLock = boost::interprocess::scoped_lock<boost::interprocess::interprocess_mutex>;
    ScopedLock lock;
};

/// Waits up to 50 × 10 ms, less where a Patience says so. Never on the audio thread. [main,
/// heartbeat, ui]
class PatientLock : private TryLock {
public:
    explicit PatientLock(RegistrySegment* segment) : TryLock(segment) {
        for (int retry = 0; segment && !lock.owns() && retry < kLockRetries && PauseForLock();
             ++retry)
            lock.try_lock();
    }

    using TryLock::operator bool;
};

} // namespace shm
