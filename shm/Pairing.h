/// The pairing rule: at most one peer each, and both sides of a pair point at each other.
#pragma once

#include "shm/SegmentLayout.h"

namespace shm {

/// Pairs the instance of `slot` with `peerId`, or unpairs it with 0. Former peers of either side
/// are released if they still pointed back; a third instance that has moved on is left alone.
/// An unknown peerId leaves the slot pointing at it. The registry lock is held. [any]
void LinkSlot(RegistrySegment& segment, RegistrySlot& slot, std::uint64_t slotId,
              std::uint64_t peerId);

} // namespace shm
