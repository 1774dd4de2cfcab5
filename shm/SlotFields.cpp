#include "shm/SlotFields.h"

#include <algorithm>
#include <cstring>

namespace shm {

RegistrySlot* FindSlot(RegistrySegment& segment, std::uint64_t id) {
    if (id == 0)
        return nullptr;
    const auto found = std::ranges::find_if(segment.slots, [id](const RegistrySlot& slot) {
        return IsActive(slot) && OwnerOf(slot) == id;
    });
    return found != segment.slots.end() ? &*found : nullptr;
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
    slot.bands.fill({.loHz = 0, .hiHz = 0, .threshDb = 0, .ratio = 0, .enabled = false});
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

void LoadName(const RegistrySlot& slot, char (&name)[kNameBytes]) {
    std::ranges::copy(slot.displayName, name);
    name[kNameBytes - 1] = '\0';
}

std::uint64_t StoreBands(RegistrySlot& slot, const TDBand* bands, int n) {
    slot.bandCount = std::min(n, kBandCount);
    if (n > 0)
        std::copy_n(bands, slot.bandCount, slot.bands.begin());
    return Step(slot.bandsSeq);
}

std::uint64_t StoreHpLp(RegistrySlot& slot, float hpHz, float lpHz) {
    slot.hpHz = hpHz;
    slot.lpHz = lpHz;
    return Step(slot.hpLpSeq);
}

std::uint64_t StoreControls(RegistrySlot& slot, float attackMs, float releaseMs, float makeupDb) {
    slot.controls = {attackMs, releaseMs, makeupDb};
    return Step(slot.controlsSeq);
}

std::uint64_t LoadBands(const RegistrySlot* slot, TDBand* out, int& count, int max) {
    count = slot != nullptr ? std::clamp(std::min(slot->bandCount, max), 0, kBandCount) : 0;
    for (int i = 0; i < count; ++i) {
        const TDBand& band = slot->bands[static_cast<std::size_t>(i)];
        // A foreign byte other than 0 and 1 must never be read as a bool.
        std::uint8_t enabled = 0;
        std::memcpy(&enabled, &band.enabled, sizeof enabled);
        out[i] = TDBand{band.loHz, band.hiHz, band.threshDb, band.ratio, enabled != 0};
    }
    return slot != nullptr ? LoadSeq(slot->bandsSeq) : 0;
}

std::uint64_t LoadHpLp(const RegistrySlot* slot, float& hpHz, float& lpHz) {
    hpHz = slot != nullptr ? slot->hpHz : kDefaultHpHz;
    lpHz = slot != nullptr ? slot->lpHz : kDefaultLpHz;
    return slot != nullptr ? LoadSeq(slot->hpLpSeq) : 0;
}

std::uint64_t LoadControls(const RegistrySlot* slot, float& attackMs, float& releaseMs,
                           float& makeupDb) {
    constexpr std::array kDefaults{kDefaultAttackMs, kDefaultReleaseMs, kDefaultMakeupDb};
    const auto& controls = slot != nullptr ? slot->controls : kDefaults;
    attackMs = controls[0];
    releaseMs = controls[1];
    makeupDb = controls[2];
    return slot != nullptr ? LoadSeq(slot->controlsSeq) : 0;
}

void LoadAudioBins(const RegistrySlot& slot, float* out, int n) {
    std::copy_n(slot.audioBins.begin(), std::clamp(n, 0, kAudioBinCount), out);
}

} // namespace shm
