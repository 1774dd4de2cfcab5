#include "shm/Slot.h"

#include <algorithm>
#include <cstring>

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

RegistrySlot* FindSlot(RegistrySegment& segment, std::uint64_t id, std::size_t from) {
    for (std::size_t i = 0; id != 0 && i < kSlotCount; ++i) {
        RegistrySlot& slot = segment.slots[(from + i) % kSlotCount];
        if (IsActive(slot) && OwnerOf(slot) == id)
            return &slot;
    }
    return nullptr;
}

// Field by field: a former owner that was swept may still read its flags and counters unlocked,
// which a memset over them would tear.
void ClearSlot(RegistrySlot& slot) {
    slot.instanceId.store(0, std::memory_order_relaxed);
    slot.remoteId.store(0, std::memory_order_relaxed);
    slot.displayName = {};
    slot.active.store(0, std::memory_order_relaxed);
    slot.afterActive = {};
    slot.latencySamples = 0;
    slot.heartbeat.store(0, std::memory_order_relaxed);
    slot.state = {};
    slot.gainReduction = {};
    slot.bandCount = 0;
    slot.afterBandCount = {};
    slot.bandsSeq.store(0, std::memory_order_relaxed);
    slot.bands.fill(kNoBand);
    slot.hpHz = 0.0F;
    slot.lpHz = 0.0F;
    slot.afterLpHz = {};
    slot.hpLpSeq.store(0, std::memory_order_relaxed);
    slot.controls = {};
    slot.afterControls = {};
    slot.controlsSeq.store(0, std::memory_order_relaxed);
    slot.bypass.store(0, std::memory_order_relaxed);
    slot.duckSelf.store(0, std::memory_order_relaxed);
    slot.afterFlags = {};
    slot.audioBinsSeq.store(0, std::memory_order_relaxed);
    slot.displayBins = {};
    slot.audioBins = {};
}

void Revive(RegistrySlot& slot) {
    // Relaxed: both are read one by one, and no other field is published by them.
    slot.active.exchange(1, std::memory_order_relaxed);
    slot.heartbeat.exchange(Now(), std::memory_order_relaxed);
}

void StoreName(RegistrySlot& slot, const char* name) {
    slot.displayName = {};
    std::memcpy(slot.displayName.data(), name, strnlen(name, kNameBytes - 1));
}

void LoadName(const RegistrySlot& slot, char* name) {
    std::ranges::copy(slot.displayName, name);
    name[kNameBytes - 1] = '\0';
}

std::uint64_t StoreBands(RegistrySlot& slot, const TDBand* bands, int n) {
    slot.bandCount = std::min(n, kBandCount);
    if (n > 0)
        std::copy_n(bands, slot.bandCount, slot.bands.begin());
    return Step(slot.bandsSeq);
}

std::uint64_t StoreHpLp(RegistrySlot& slot, const Filters& filters) {
    slot.hpHz = filters.hpHz;
    slot.lpHz = filters.lpHz;
    return Step(slot.hpLpSeq);
}

std::uint64_t StoreControls(RegistrySlot& slot, const Controls& controls) {
    slot.controls = {controls.attackMs, controls.releaseMs, controls.makeupDb};
    return Step(slot.controlsSeq);
}

std::uint64_t LoadBands(const RegistrySlot* slot, BandSet& out) {
    out.count = slot != nullptr ? std::clamp(slot->bandCount, 0, kBandCount) : 0;
    for (int i = 0; i < out.count; ++i) {
        const TDBand& band = slot->bands[static_cast<std::size_t>(i)];
        // A foreign byte other than 0 and 1 must never be read as a bool.
        std::uint8_t enabled = 0;
        std::memcpy(&enabled, &band.enabled, sizeof enabled);
        out[i] = TDBand{band.loHz, band.hiHz, band.threshDb, band.ratio, enabled != 0};
    }
    return slot != nullptr ? LoadSeq(slot->bandsSeq) : 0;
}

std::uint64_t LoadHpLp(const RegistrySlot* slot, Filters& out) {
    out = slot != nullptr ? Filters{.hpHz = slot->hpHz, .lpHz = slot->lpHz} : Filters{};
    return slot != nullptr ? LoadSeq(slot->hpLpSeq) : 0;
}

std::uint64_t LoadControls(const RegistrySlot* slot, Controls& out) {
    out = slot != nullptr ? Controls{.attackMs = slot->controls[0],
                                     .releaseMs = slot->controls[1],
                                     .makeupDb = slot->controls[2]}
                          : Controls{};
    return slot != nullptr ? LoadSeq(slot->controlsSeq) : 0;
}

void SweepDead(RegistrySegment& segment, std::uint64_t exceptId) {
    const std::int64_t now = Now();
    segment.slotHighWater = 0;
    for (std::int32_t i = 0; i < kSlotCount; ++i) {
        RegistrySlot& slot = segment.slots[static_cast<std::size_t>(i)];
        if (OwnerOf(slot) != exceptId && IsActive(slot) && !IsAlive(slot, now, kAliveSeconds))
            slot.active.exchange(0, std::memory_order_relaxed); // the lock publishes
        if (IsActive(slot))
            segment.slotHighWater = i + 1;
    }
}

void LinkSlot(RegistrySegment& segment, RegistrySlot& slot, std::uint64_t slotId,
              std::uint64_t peerId) {
    Repoint(segment, slot, slotId, peerId);
    if (RegistrySlot* peer = FindSlot(segment, peerId))
        Repoint(segment, *peer, peerId, slotId);
}

BandSet SetOf(const TDBand* bands, int n) {
    BandSet set{.bands = {}, .count = n};
    if (n > 0)
        std::copy_n(bands, std::min(n, kBandCount), set.bands.begin());
    return set;
}

int CopyBands(const BandSet& set, TDBand* out, int max) {
    const int count = std::clamp(max, 0, set.count);
    std::copy_n(set.bands.begin(), count, out);
    return count;
}

SlotMemory SaveSlot(const RegistrySlot& slot) {
    return {.remoteId = slot.remoteId.load(std::memory_order_relaxed),
            .displayName = slot.displayName,
            .latencySamples = slot.latencySamples,
            .bandsSeq = LoadSeq(slot.bandsSeq),
            .hpLpSeq = LoadSeq(slot.hpLpSeq),
            .controlsSeq = LoadSeq(slot.controlsSeq),
            .settings = {.bands = {.bands = slot.bands, .count = slot.bandCount},
                         .filters = {.hpHz = slot.hpHz, .lpHz = slot.lpHz},
                         .controls = {.attackMs = slot.controls[0],
                                      .releaseMs = slot.controls[1],
                                      .makeupDb = slot.controls[2]}},
            .bypass = slot.bypass.load(std::memory_order_relaxed),
            .duckSelf = slot.duckSelf.load(std::memory_order_relaxed)};
}

void RestoreSlot(RegistrySegment& segment, RegistrySlot& slot, const SlotMemory& memory) {
    // Relaxed: the slot's owner reads them once it has been told of its new slot.
    const RegistrySlot* const peer = FindSlot(segment, memory.remoteId);
    const bool dropped =
        peer != nullptr && peer->remoteId.load(std::memory_order_relaxed) != OwnerOf(slot);
    const auto& [bands, filters, controls] = memory.settings;
    slot.remoteId.store(dropped ? 0 : memory.remoteId, std::memory_order_relaxed);
    slot.displayName = memory.displayName;
    slot.latencySamples = memory.latencySamples;
    slot.bandCount = bands.count;
    slot.bandsSeq.store(memory.bandsSeq, std::memory_order_relaxed);
    slot.hpLpSeq.store(memory.hpLpSeq, std::memory_order_relaxed);
    slot.controlsSeq.store(memory.controlsSeq, std::memory_order_relaxed);
    slot.bands = bands.bands;
    slot.hpHz = filters.hpHz;
    slot.lpHz = filters.lpHz;
    slot.controls = {controls.attackMs, controls.releaseMs, controls.makeupDb};
    slot.bypass.store(memory.bypass, std::memory_order_relaxed);
    slot.duckSelf.store(memory.duckSelf, std::memory_order_relaxed);
}

void Silence(RegistrySlot& slot) {
    slot.state = {};
    slot.gainReduction = {};
    slot.audioBins = {};
    Step(slot.audioBinsSeq);
}

void LoadAudioBins(const RegistrySlot& slot, float* out, int n) {
    std::copy_n(slot.audioBins.begin(), std::clamp(n, 0, kAudioBinCount), out);
}

} // namespace shm
