#include "shm/SlotSettings.h"

#include "shm/SlotFields.h"

namespace shm {

SlotSettings SaveSettings(const RegistrySlot& slot) {
    return {.remoteId = slot.remoteId.load(std::memory_order_relaxed),
            .displayName = slot.displayName,
            .latencySamples = slot.latencySamples,
            .bandCount = slot.bandCount,
            .bandsSeq = LoadSeq(slot.bandsSeq),
            .hpLpSeq = LoadSeq(slot.hpLpSeq),
            .controlsSeq = LoadSeq(slot.controlsSeq),
            .bands = slot.bands,
            .hpHz = slot.hpHz,
            .lpHz = slot.lpHz,
            .controls = slot.controls,
            .bypass = slot.bypass.load(std::memory_order_relaxed),
            .duckSelf = slot.duckSelf.load(std::memory_order_relaxed)};
}

void RestoreSettings(RegistrySegment& segment, RegistrySlot& slot, const SlotSettings& settings) {
    // Relaxed: the slot's owner reads them once it has been told of its new slot.
    const RegistrySlot* const peer = FindSlot(segment, settings.remoteId);
    const bool dropped =
        peer != nullptr && peer->remoteId.load(std::memory_order_relaxed) != OwnerOf(slot);
    slot.remoteId.store(dropped ? 0 : settings.remoteId, std::memory_order_relaxed);
    slot.displayName = settings.displayName;
    slot.latencySamples = settings.latencySamples;
    slot.bandCount = settings.bandCount;
    slot.bandsSeq.store(settings.bandsSeq, std::memory_order_relaxed);
    slot.hpLpSeq.store(settings.hpLpSeq, std::memory_order_relaxed);
    slot.controlsSeq.store(settings.controlsSeq, std::memory_order_relaxed);
    slot.bands = settings.bands;
    slot.hpHz = settings.hpHz;
    slot.lpHz = settings.lpHz;
    slot.controls = settings.controls;
    slot.bypass.store(settings.bypass, std::memory_order_relaxed);
    slot.duckSelf.store(settings.duckSelf, std::memory_order_relaxed);
}

} // namespace shm
