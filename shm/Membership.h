/// How an instance gets into the registry: finds or makes the segment, claims a slot.
#pragma once

#include "shm/GuardedMapping.h"
#include "shm/SegmentLayout.h"
#include "shm/SegmentObject.h"
#include "shm/Slot.h"

#include <cstdint>

namespace shm {

/// A claimed slot and the segment it lies in.
struct Membership {
    SegmentObject object;
    GuardedMapping mapping;
    RegistrySegment* segment = nullptr;
    std::int32_t slotIndex = -1;
};

/// What to do with a segment under the registry's name that cannot be joined.
enum class Arrival {
    Start,       ///< Give it 1 s to become ready, then replace it.
    WhileRunning ///< Do not wait; replace only what its maker has abandoned.
};

/// Joins the registry, or makes it, and claims a slot for an instance. When this returns, the
/// registry's name leads to the segment in which the slot lies: nobody has replaced it meanwhile.
/// Raises std::exception when there is no free slot, the lock stays busy, the object is another
/// user's or the system refuses. One thread of a process at a time. [any but audio; patient]
Membership JoinRegistry(std::uint64_t id, const SlotMemory& memory, Arrival arrival);

/// Whether the object may be removed: too short to be a registry, or one in which no slot has shown
/// life for maxAgeSeconds. Not one made in that time, as long as nobody has claimed a slot of it:
/// its maker is about to. May raise std::system_error. [any but audio; none]
bool IsStale(const SegmentObject& object, int maxAgeSeconds);

} // namespace shm
