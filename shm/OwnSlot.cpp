#include "shm/TessellaDuckworkSHM.h"

#include <algorithm>

using namespace shm;

namespace {

// Changes of the own slot, the same for a patient and for a trying lock.
auto Naming(const char* name) {
    return [=](RegistrySlot& own) {
        StoreName(own, name);
        return true;
    };
}
auto WritingBands(const TDBand* bands, int n) {
    return [=](RegistrySlot& own) { return StoreBands(own, bands, n); };
}
auto WritingHpLp(float hpHz, float lpHz) {
    return [=](RegistrySlot& own) { return StoreHpLp(own, hpHz, lpHz); };
}
auto WritingControls(float attackMs, float releaseMs, float makeupDb) {
    return [=](RegistrySlot& own) { return StoreControls(own, attackMs, releaseMs, makeupDb); };
}
auto SettingLatency(int samples) {
    return [=](RegistrySlot& own) {
        own.latencySamples = samples;
        return true;
    };
}
auto SettingFlag(std::atomic<std::uint8_t> RegistrySlot::*flag, bool on) {
    return [=](RegistrySlot& own) {
        StoreFlag(own.*flag, on);
        return true;
    };
}

} // namespace

bool TessellaDuckworkSHM::SetDisplayName(const char* name) {
    return ChangeOwn<PatientLock>(Naming(name)).has_value();
}

bool TessellaDuckworkSHM::TrySetDisplayName(const char* name) {
    return ChangeOwn<TryLock>(Naming(name)).has_value();
}

std::uint64_t TessellaDuckworkSHM::WriteBands(const TDBand* bands, int n) {
    return ChangeOwn<PatientLock>(WritingBands(bands, n)).value_or(0);
}

std::optional<std::uint64_t> TessellaDuckworkSHM::TryWriteBands(const TDBand* bands, int n) {
    return Opened() ? ChangeOwn<TryLock>(WritingBands(bands, n)) : 0;
}

std::uint64_t TessellaDuckworkSHM::WriteHpLp(float hpHz, float lpHz) {
    return ChangeOwn<PatientLock>(WritingHpLp(hpHz, lpHz)).value_or(0);
}

std::optional<std::uint64_t> TessellaDuckworkSHM::TryWriteHpLp(float hpHz, float lpHz) {
    return Opened() ? ChangeOwn<TryLock>(WritingHpLp(hpHz, lpHz)) : 0;
}

std::uint64_t TessellaDuckworkSHM::WriteControls(float attackMs, float releaseMs, float makeupDb) {
    return ChangeOwn<PatientLock>(WritingControls(attackMs, releaseMs, makeupDb)).value_or(0);
}

std::optional<std::uint64_t> TessellaDuckworkSHM::TryWriteControls(float attackMs, float releaseMs,
                                                                   float makeupDb) {
    return Opened() ? ChangeOwn<TryLock>(WritingControls(attackMs, releaseMs, makeupDb)) : 0;
}

void TessellaDuckworkSHM::WriteState(const float* state) {
    const auto own = LockOwn<TryLock>();
    if (!own)
        return;
    std::copy_n(state, own->state.size(), own->state.begin());
    own->heartbeat.exchange(Now(), std::memory_order_relaxed); // read alone
}

void TessellaDuckworkSHM::WriteBins(const float* bins, int n) {
    if (const auto own = LockOwn<PatientLock>())
        std::copy_n(bins, std::clamp(n, 0, kDisplayBinCount), own->displayBins.begin());
}

bool TessellaDuckworkSHM::PublishDuckSelf(bool on) {
    return ChangeOwn<PatientLock>(SettingFlag(&RegistrySlot::duckSelf, on)).has_value();
}

bool TessellaDuckworkSHM::TryPublishDuckSelf(bool on) {
    return ChangeOwn<TryLock>(SettingFlag(&RegistrySlot::duckSelf, on)).has_value();
}

bool TessellaDuckworkSHM::SetMyLatency(int samples) {
    return ChangeOwn<PatientLock>(SettingLatency(samples)).has_value();
}

bool TessellaDuckworkSHM::TrySetMyLatency(int samples) {
    return ChangeOwn<TryLock>(SettingLatency(samples)).has_value();
}

void TessellaDuckworkSHM::SetMyBypass(bool on) {
    ChangeOwn<PatientLock>(SettingFlag(&RegistrySlot::bypass, on));
}

bool TessellaDuckworkSHM::ReadMyBypass() {
    if (!Opened())
        return false;
    // Relaxed: a flag by itself, whichever thread read it last.
    if (const auto own = LockOwn<TryLock>())
        cachedBypass.store(LoadFlag(own->bypass), std::memory_order_relaxed);
    return cachedBypass.load(std::memory_order_relaxed);
}

std::optional<bool> TessellaDuckworkSHM::ReadMyDuckSelf() const {
    const SegmentUse segment(source);
    if (!segment || OwnerOf(segment->slots[SlotIndex()]) != MyId())
        return std::nullopt;
    return LoadFlag(segment->slots[SlotIndex()].duckSelf);
}

std::uint64_t TessellaDuckworkSHM::ReadOwnBands(TDBand* out, int& count, int max) const {
    return LoadBands(LockOwn<PatientLock>().Get(), out, count, max);
}

std::uint64_t TessellaDuckworkSHM::ReadOwnHpLp(float& hpHz, float& lpHz) const {
    return LoadHpLp(LockOwn<PatientLock>().Get(), hpHz, lpHz);
}

std::uint64_t TessellaDuckworkSHM::ReadOwnControls(float& attackMs, float& releaseMs,
                                                   float& makeupDb) const {
    return LoadControls(LockOwn<PatientLock>().Get(), attackMs, releaseMs, makeupDb);
}
