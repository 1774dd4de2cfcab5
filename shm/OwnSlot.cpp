#include "shm/LockedSlot.h"
#include "shm/TessellaDuckworkSHM.h"

#include <algorithm>

using namespace shm;

void TessellaDuckworkSHM::SetDisplayName(const char* name) {
    const PatientLock lock(OpenSegment());
    if (lock)
        StoreName(OwnSlot(), name);
}

std::uint64_t TessellaDuckworkSHM::WriteBands(const TDBand* bands, int n) {
    const PatientLock lock(OpenSegment());
    return lock ? StoreBands(OwnSlot(), bands, n) : 0;
}

std::uint64_t TessellaDuckworkSHM::WriteHpLp(float hpHz, float lpHz) {
    const PatientLock lock(OpenSegment());
    return lock ? StoreHpLp(OwnSlot(), hpHz, lpHz) : 0;
}

std::uint64_t TessellaDuckworkSHM::WriteControls(float attackMs, float releaseMs, float makeupDb) {
    const PatientLock lock(OpenSegment());
    return lock ? StoreControls(OwnSlot(), attackMs, releaseMs, makeupDb) : 0;
}

std::optional<std::uint64_t> TessellaDuckworkSHM::TryWriteControls(float attackMs, float releaseMs,
                                                                   float makeupDb) {
    if (!OpenSegment())
        return 0;
    const TryLock lock(OpenSegment());
    if (!lock)
        return std::nullopt;
    return StoreControls(OwnSlot(), attackMs, releaseMs, makeupDb);
}

void TessellaDuckworkSHM::WriteState(const float* state) {
    const TryLock lock(OpenSegment());
    if (!lock)
        return;
    std::copy_n(state, OwnSlot().state.size(), OwnSlot().state.begin());
    OwnSlot().heartbeat.exchange(Now(), std::memory_order_relaxed); // read alone
}

void TessellaDuckworkSHM::WriteBins(const float* bins, int n) {
    const PatientLock lock(OpenSegment());
    if (lock)
        std::copy_n(bins, std::clamp(n, 0, kDisplayBinCount), OwnSlot().displayBins.begin());
}

void TessellaDuckworkSHM::PublishDuckSelf(bool on) {
    const PatientLock lock(OpenSegment());
    if (lock)
        StoreFlag(OwnSlot().duckSelf, on);
}

void TessellaDuckworkSHM::SetMyLatency(int samples) {
    const PatientLock lock(OpenSegment());
    if (lock)
        OwnSlot().latencySamples = samples;
}

void TessellaDuckworkSHM::SetMyBypass(bool on) {
    const PatientLock lock(OpenSegment());
    if (lock)
        StoreFlag(OwnSlot().bypass, on);
}

bool TessellaDuckworkSHM::ReadMyBypass() {
    if (!OpenSegment())
        return false;
    // Relaxed: a flag by itself, whichever thread read it last.
    const TryLock lock(OpenSegment());
    if (lock)
        cachedBypass.store(LoadFlag(OwnSlot().bypass), std::memory_order_relaxed);
    return cachedBypass.load(std::memory_order_relaxed);
}

std::uint64_t TessellaDuckworkSHM::ReadOwnBands(TDBand* out, int& count, int max) const {
    count = 0;
    const PatientLock lock(OpenSegment());
    return lock ? LoadBands(OwnSlot(), out, count, max) : 0;
}

std::uint64_t TessellaDuckworkSHM::ReadOwnHpLp(float& hpHz, float& lpHz) const {
    hpHz = kDefaultHpHz;
    lpHz = kDefaultLpHz;
    const PatientLock lock(OpenSegment());
    return lock ? LoadHpLp(OwnSlot(), hpHz, lpHz) : 0;
}

std::uint64_t TessellaDuckworkSHM::ReadOwnControls(float& attackMs, float& releaseMs,
                                                   float& makeupDb) const {
    attackMs = kDefaultAttackMs;
    releaseMs = kDefaultReleaseMs;
    makeupDb = kDefaultMakeupDb;
    const PatientLock lock(OpenSegment());
    return lock ? LoadControls(OwnSlot(), attackMs, releaseMs, makeupDb) : 0;
}
