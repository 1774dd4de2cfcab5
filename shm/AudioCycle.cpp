#include "shm/LockedSlot.h"
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
        cycle.bandsSeq = LoadBands(slot, cycle.bands, cycle.bandCount, kBandCount);
    if (cycle.hpLpChanged)
        cycle.hpLpSeq = LoadHpLp(slot, cycle.hpHz, cycle.lpHz);
    if (cycle.controlsChanged)
        cycle.controlsSeq =
            LoadControls(slot, cycle.controls[0], cycle.controls[1], cycle.controls[2]);
}

} // namespace

void TessellaDuckworkSHM::WriteAudioCycle(const float* state, const float* gainReduction,
                                          const float* bins, int n, bool writeBins) {
    const TryLock lock(OpenSegment());
    if (!lock)
        return;
    RegistrySlot& slot = OwnSlot();
    std::copy_n(state, slot.state.size(), slot.state.begin());
    std::copy_n(gainReduction, slot.gainReduction.size(), slot.gainReduction.begin());
    // Deliberate: unlike Touch this does not ask whose slot it is. A slot swept while its audio
    // thread was merely starved comes back with the next block. Relaxed: read one by one.
    slot.heartbeat.store(Now(), std::memory_order_relaxed);
    slot.active.store(1, std::memory_order_relaxed);
    if (writeBins && bins && n > 0) {
        std::copy_n(bins, std::min(n, kAudioBinCount), slot.audioBins.begin());
        Step(slot.audioBinsSeq);
    }
}

bool TessellaDuckworkSHM::ReadAudioCycle(std::uint64_t lastBandsSeq, std::uint64_t lastHpLpSeq,
                                         std::uint64_t lastControlsSeq, TDAudioReadCycle& cycle,
                                         float* peerBins, int n) {
    if (!OpenSegment())
        return false;
    const RegistrySlot& slot = OwnSlot();
    ReadUnlocked(slot, lastBandsSeq, lastHpLpSeq, lastControlsSeq, cycle);
    remoteId.store(cycle.remoteId, std::memory_order_relaxed); // read alone
    cycle.audioValid = false;
    const bool wantsAudio = peerBins && cycle.remoteId != 0;
    if (!cycle.bandsChanged && !cycle.hpLpChanged && !cycle.controlsChanged && !wantsAudio)
        return true;

    const TryLock lock(header);
    if (!lock)
        return false;
    CopyChanged(slot, cycle);
    const RegistrySlot* peer = wantsAudio ? FindSlot(*header, cycle.remoteId) : nullptr;
    if (peer) {
        LoadAudioBins(*peer, peerBins, n);
        cycle.audioValid = true;
    }
    return true;
}
