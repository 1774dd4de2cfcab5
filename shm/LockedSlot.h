/// A slot found by instance id, together with the lock under which it may be used.
#pragma once

#include "shm/RegistryLock.h"
#include "shm/SlotFields.h"

namespace shm {

/// Looks up the active slot of an id and keeps the registry locked as long as it lives. Empty for
/// a null segment, id 0 (both without trying the lock), a busy lock or an unknown id.
/// Lock is PatientLock or TryLock, whose threads and exceptions apply.
template <class Lock>
class LockedSlot {
public:
    LockedSlot(RegistrySegment* segment, std::uint64_t id)
        : lock(id != 0 ? segment : nullptr), slot(lock ? FindSlot(*segment, id) : nullptr) {}

    explicit operator bool() const { return slot != nullptr; }
    RegistrySlot& operator*() const { return *slot; }
    RegistrySlot* operator->() const { return slot; }

private:
    Lock lock;
    RegistrySlot* slot;
};

} // namespace shm
