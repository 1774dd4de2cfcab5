#include "shm/TessellaDuckworkSHM.h"

#include <algorithm>

using namespace shm;

namespace {

/// Sets the flags, the peer's id and what has changed since the caller's counters. No lock: each
/// is one atomic value; a changed counter sends the caller to the lock for its group's values.
void ReadUnlocked(const RegistrySlot& slot, std::uint64_t lastBandsSeq, std::uint64_t lastHpLpSeq,
                  std::uint64_t lastControlsSeq, TessellaDuckworkSHM::TDAudioReadCycle& cycle) {
    cycle.bypass = LoadFlag(slot.bypass);
    cycle.duckSelf = LoadFlag(slot.duckSelf);
    cycle.remoteId = slot.remoteId.load(std::memory_order_relaxed);
    cycle.bandsChanged = LoadSeq(slot.bandsSeq) != lastBandsSeq;
    cycle.hpLpChanged = LoadSeq(slot.hpLpSeq) != lastHpLpSeq;
    cycle.controlsChanged = LoadSeq(slot.controlsSeq) != lastControlsSeq;
}

/// Copies the changed groups with their counters of this moment: an edit that arrived since the
/// comparison is applied now and does not come back as a change.
void CopyChanged(const RegistrySlot& slot, TessellaDuckworkSHM::TDAudioReadCycle& cycle) {
    if (cycle.bandsChanged)
        cycle.bandsSeq = LoadBands(&slot, cycle.bands, cycle.bandCount, kBandCount);
    if (cycle.hpLpChanged)
        cycle.hpLpSeq = LoadHpLp(&slot, cycle.hpHz, cycle.lpHz);
    if (cycle.controlsChanged)
        cycle.controlsSeq =
            LoadControls(&slot, cycle.controls[0], cycle.controls[1], cycle.controls[2]);
}

} // namespace

bool TessellaDuckworkSHM::WriteAudioCycle(const float* state, const float* gainReduction,
                                          const float* bins, int n, bool writeBins) {
    const SegmentUse segment(source);
    if (!segment)
        return false;
    const RegistrySlot& seen = segment->slots[SlotIndex()];
    const std::int64_t now = Now();
    const bool hasBins = writeBins && bins && n > 0;
    PublishedMeters meters;
    std::copy_n(state, meters.state.size(), meters.state.begin());
    std::copy_n(gainReduction, meters.gainReduction.size(), meters.gainReduction.begin());
    if (!hasBins && published == meters && OwnerOf(seen) == MyId() && IsActive(seen) &&
        IsAlive(seen, now, 0))
        return true;
    const auto own = LockOwn<TryLock>();
    if (!own)
        return false;
    own->state = meters.state;
    own->gainReduction = meters.gainReduction;
    // A slot swept while its audio thread was merely starved comes back with the next block.
    // Relaxed: read one by one.
    own->heartbeat.store(now, std::memory_order_relaxed);
    own->active.store(1, std::memory_order_relaxed);
    published = meters;
    if (hasBins) {
        std::copy_n(bins, std::min(n, kAudioBinCount), own->audioBins.begin());
        Step(own->audioBinsSeq);
    }
    return true;
}

/// Whether a copy would change nothing. No lock: whatever becomes of the peer's slot, its mark or
/// its owner goes, or its counter starts again at 0; and another segment is another place.
bool TessellaDuckworkSHM::HoldsSpectrum(const RegistrySegment& segment, const float* peerBins,
                                        int n) const {
    const RegistrySlot& slot = segment.slots[held.slot];
    return held.segment == &segment && held.peerId == remoteId.load(std::memory_order_relaxed) &&
           held.where == peerBins && held.count == n && OwnerOf(slot) == held.peerId &&
           IsActive(slot) && held.seq == LoadSeq(slot.audioBinsSeq);
}

bool TessellaDuckworkSHM::ReadAudioCycle(std::uint64_t lastBandsSeq, std::uint64_t lastHpLpSeq,
                                         std::uint64_t lastControlsSeq, TDAudioReadCycle& cycle,
                                         float* peerBins, int n) {
    const SegmentUse segment(source);
    if (!segment)
        return false;
    const RegistrySlot& slot = segment->slots[SlotIndex()];
    if (OwnerOf(slot) != MyId()) {
        // What another instance has put there is not meant for this one.
        cycle.bypass = cachedBypass.load(std::memory_order_relaxed);
        return false;
    }
    ReadUnlocked(slot, lastBandsSeq, lastHpLpSeq, lastControlsSeq, cycle);
    cachedBypass.store(cycle.bypass, std::memory_order_relaxed); // these two are read alone
    remoteId.store(cycle.remoteId, std::memory_order_relaxed);
    cycle.audioValid = cycle.audioNew = false;
    const bool wantsAudio = peerBins && cycle.remoteId != 0;
    const bool holdsAudio = wantsAudio && HoldsSpectrum(*segment, peerBins, n);
    const bool changed = cycle.bandsChanged || cycle.hpLpChanged || cycle.controlsChanged;
    if (!changed && wantsAudio == holdsAudio) {
        cycle.audioValid = holdsAudio;
        return true;
    }

    const auto own = LockOwn<TryLock>();
    if (!own)
        return false;
    CopyChanged(*own, cycle);
    if (changed)
        Remember(*own);
    const RegistrySlot* peer = wantsAudio ? FindSlot(own.Segment(), cycle.remoteId) : nullptr;
    if (wantsAudio)
        held = {};
    if (peer) {
        LoadAudioBins(*peer, peerBins, n);
        held = {&own.Segment(), static_cast<std::size_t>(peer - own.Segment().slots.data()),
                cycle.remoteId, LoadSeq(peer->audioBinsSeq),
                peerBins,       n};
        cycle.audioValid = cycle.audioNew = true;
    }
    return true;
}
