#include "shm/TessellaDuckworkSHM.h"

#include <algorithm>

using namespace shm;

namespace {

/// Fetches what another core may have in its cache, so that it need not come while the lock is
/// held: a lock held shorter is found busy less often.
template <bool forWriting>
void Fetch(const void* from, std::size_t bytes) {
    constexpr std::size_t kLine = 64;
    for (std::size_t at = 0; at < bytes; at += kLine)
        __builtin_prefetch(static_cast<const std::byte*>(from) + at, forWriting ? 1 : 0);
}

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
    Settings now;
    if (cycle.bandsChanged) {
        cycle.bandsSeq = LoadBands(&slot, now.bands);
        cycle.bandCount = CopyBands(now.bands, cycle.bands, kBandCount);
    }
    if (cycle.hpLpChanged) {
        cycle.hpLpSeq = LoadHpLp(&slot, now.filters);
        cycle.hpHz = now.filters.hpHz;
        cycle.lpHz = now.filters.lpHz;
    }
    if (cycle.controlsChanged) {
        cycle.controlsSeq = LoadControls(&slot, now.controls);
        for (int i = 0; i < Controls::kCount; ++i)
            cycle.controls[i] = now.controls[i];
    }
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
    if (hasBins)
        Fetch<true>(seen.audioBins.data(), sizeof seen.audioBins);
    const TryVisit visit(*this);
    RegistrySlot* const own = visit.Own();
    if (own == nullptr)
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

/// Copies the peer's spectrum, unless the caller's buffer holds it already.
void TessellaDuckworkSHM::TakeSpectrum(const RegistrySlot& peer, TDAudioReadCycle& cycle,
                                       float* peerBins, int n) {
    const HeldSpectrum now{&peer, cycle.remoteId, LoadSeq(peer.audioBinsSeq), peerBins, n};
    cycle.audioValid = true;
    cycle.audioNew = held != now;
    if (cycle.audioNew)
        LoadAudioBins(peer, peerBins, n);
    held = now;
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
    const bool changed = cycle.bandsChanged || cycle.hpLpChanged || cycle.controlsChanged;
    if (!changed && !wantsAudio)
        return true;

    const std::uint64_t wanted = wantsAudio ? cycle.remoteId : 0;
    if (const RegistrySlot* const seen = FindSlot(*segment, wanted, peerIndex)) {
        peerIndex = static_cast<std::size_t>(seen - segment->slots.data());
        if (LoadSeq(seen->audioBinsSeq) != held.seq)
            Fetch<false>(seen->audioBins.data(), sizeof seen->audioBins);
    }
    const TryVisit visit(*this);
    const RegistrySlot* const own = visit.Own();
    if (own == nullptr)
        return false;
    CopyChanged(*own, cycle);
    if (changed)
        Remember(*own);
    const RegistrySlot* const peer = FindSlot(*segment, wanted, peerIndex);
    if (peer != nullptr)
        TakeSpectrum(*peer, cycle, peerBins, n);
    else
        held = {};
    return true;
}
