#include "shm/Pairing.h"

#include "shm/SlotFields.h"

namespace shm {
namespace {

/// Points the slot at newPeer and releases its former peer, if that still points back.
void Repoint(RegistrySegment& segment, RegistrySlot& slot, std::uint64_t slotId,
             std::uint64_t newPeer) {
    // Relaxed: its owner's audio thread reads the id alone, without the lock.
    const std::uint64_t former = slot.remoteId.exchange(newPeer, std::memory_order_relaxed);
    if (former == 0 || former == newPeer)
        return;
    for (RegistrySlot& other : segment.slots)
        if (IsActive(other) && OwnerOf(other) == former &&
            other.remoteId.load(std::memory_order_relaxed) == slotId)
            other.remoteId.exchange(0, std::memory_order_relaxed);
}

} // namespace

void LinkSlot(RegistrySegment& segment, RegistrySlot& slot, std::uint64_t slotId,
              std::uint64_t peerId) {
    Repoint(segment, slot, slotId, peerId);
    if (RegistrySlot* peer = FindSlot(segment, peerId))
        Repoint(segment, *peer, peerId, slotId);
}

} // namespace shm
