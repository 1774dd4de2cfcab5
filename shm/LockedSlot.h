/// A slot together with the lock under which it may be used.
#pragma once

#include "shm/RegistryLock.h"
#include "shm/SegmentSource.h"

namespace shm {

/// Keeps the registry locked as long as it lives. Empty without a segment, for id 0 (both without
/// trying the lock), a busy lock or a slot that is not there or not that instance's.
/// Lock is PatientLock or TryLock, whose threads and exceptions apply.
template <class Lock>
class LockedSlot {
public:
    /// The active slot of an instance.
    LockedSlot(const SegmentSource& source, std::uint64_t id)
        : segment(source), lock(id != 0 ? segment.Get() : nullptr),
          slot(lock ? FindSlot(*segment, id) : nullptr) {}

    /// The slot that an instance has claimed, active or not, unless another has claimed it since.
    LockedSlot(const SegmentSource& source, std::size_t index, std::uint64_t id)
        : segment(source), lock(id != 0 ? segment.Get() : nullptr) {
        if (lock && OwnerOf(segment->slots[index]) == id)
            slot = &segment->slots[index];
    }

    explicit operator bool() const { return slot != nullptr; }
    /// The slot; null without one. Valid while this lives.
    [[nodiscard]] RegistrySlot* Get() const { return slot; }
    RegistrySlot& operator*() const { return *slot; }
    RegistrySlot* operator->() const { return slot; }
    /// The segment that is locked.
    [[nodiscard]] RegistrySegment& Segment() const { return *segment; }

private:
    SegmentUse segment;
    Lock lock;
    RegistrySlot* slot = nullptr;
};

} // namespace shm
