#include "shm/Pairing.h"
#include "shm/TessellaDuckworkSHM.h"

#include <algorithm>

using namespace shm;

void TessellaDuckworkSHM::SetRemoteId(std::uint64_t id) {
    remoteId.store(id, std::memory_order_relaxed); // a value by itself, publishes nothing
    const auto own = LockOwn<PatientLock>();
    if (!own)
        return;
    LinkSlot(own.Segment(), *own, myId, id);
    Remember(*own);
}

void TessellaDuckworkSHM::SyncRemoteId() {
    if (const auto own = LockOwn<TryLock>())
        remoteId.store(own->remoteId.load(std::memory_order_relaxed),
                       std::memory_order_relaxed); // as in SetRemoteId
}

bool TessellaDuckworkSHM::IsFree(std::uint64_t id) const {
    const LockedSlot<TryLock> slot(source, id);
    if (!slot)
        return false;
    const std::uint64_t partner = slot->remoteId.load(std::memory_order_relaxed);
    return partner == 0 || partner == myId || FindSlot(slot.Segment(), partner) == nullptr;
}

std::uint64_t TessellaDuckworkSHM::ReadRemoteBands(TDBand* out, int& count, int max) const {
    return LoadBands(LockPeer<PatientLock>().Get(), out, count, max);
}

std::uint64_t TessellaDuckworkSHM::ReadRemoteHpLp(float& hpHz, float& lpHz) const {
    return LoadHpLp(LockPeer<PatientLock>().Get(), hpHz, lpHz);
}

std::uint64_t TessellaDuckworkSHM::ReadRemoteControls(float& attackMs, float& releaseMs,
                                                      float& makeupDb) const {
    return LoadControls(LockPeer<PatientLock>().Get(), attackMs, releaseMs, makeupDb);
}

bool TessellaDuckworkSHM::ReadRemoteGR(float* gr) const {
    const auto peer = LockPeer<TryLock>();
    if (peer)
        std::ranges::copy(peer->gainReduction, gr);
    return static_cast<bool>(peer);
}

bool TessellaDuckworkSHM::ReadRemoteAudioBins(float* out, int n) const {
    const auto peer = LockPeer<TryLock>();
    if (peer)
        LoadAudioBins(*peer, out, n);
    return static_cast<bool>(peer);
}

std::uint64_t TessellaDuckworkSHM::WriteRemoteBands(const TDBand* bands, int n) {
    const auto peer = LockPeer<PatientLock>();
    return peer ? StoreBands(*peer, bands, n) : 0;
}

std::uint64_t TessellaDuckworkSHM::WriteRemoteHpLp(float hpHz, float lpHz) {
    const auto peer = LockPeer<PatientLock>();
    return peer ? StoreHpLp(*peer, hpHz, lpHz) : 0;
}

std::uint64_t TessellaDuckworkSHM::WriteRemoteControls(float attackMs, float releaseMs,
                                                       float makeupDb) {
    const auto peer = LockPeer<PatientLock>();
    return peer ? StoreControls(*peer, attackMs, releaseMs, makeupDb) : 0;
}

void TessellaDuckworkSHM::SetBypassOf(std::uint64_t id, bool on) {
    const LockedSlot<PatientLock> slot(source, id);
    if (slot)
        StoreFlag(slot->bypass, on);
}

bool TessellaDuckworkSHM::ReadBypassOf(std::uint64_t id) const {
    const LockedSlot<TryLock> slot(source, id);
    return slot && LoadFlag(slot->bypass);
}

void TessellaDuckworkSHM::SetDuckSelfOf(std::uint64_t id, bool on) {
    const LockedSlot<PatientLock> slot(source, id);
    if (slot)
        StoreFlag(slot->duckSelf, on);
}

bool TessellaDuckworkSHM::ReadDuckSelfOf(std::uint64_t id) const {
    const LockedSlot<TryLock> slot(source, id);
    return !slot || LoadFlag(slot->duckSelf);
}
