#include "shm/TessellaDuckworkSHM.h"

#include <algorithm>

namespace shm {

bool Visit::SetDisplayName(const char* name) {
    if (own == nullptr)
        return false;
    StoreName(*own, name);
    return ownChanged = true;
}

std::uint64_t Visit::WriteBands(const BandSet& bands) {
    if (own == nullptr)
        return 0;
    ownChanged = true;
    return StoreBands(*own, bands.bands.data(), bands.count);
}

std::uint64_t Visit::WriteHpLp(const Filters& filters) {
    if (own == nullptr)
        return 0;
    ownChanged = true;
    return StoreHpLp(*own, filters);
}

std::uint64_t Visit::WriteControls(const Controls& controls) {
    if (own == nullptr)
        return 0;
    ownChanged = true;
    return StoreControls(*own, controls);
}

std::uint64_t Visit::ReadOwnBands(BandSet& out) const { return LoadBands(own, out); }
std::uint64_t Visit::ReadOwnHpLp(Filters& out) const { return LoadHpLp(own, out); }
std::uint64_t Visit::ReadOwnControls(Controls& out) const { return LoadControls(own, out); }

void Visit::WriteState(const float* state) {
    if (own == nullptr)
        return;
    std::copy_n(state, own->state.size(), own->state.begin());
    own->heartbeat.exchange(Now(), std::memory_order_relaxed); // read alone
}

void Visit::WriteBins(std::span<const float> bins) {
    if (own != nullptr)
        std::copy_n(bins.begin(), std::min<std::size_t>(bins.size(), kDisplayBinCount),
                    own->displayBins.begin());
}

bool Visit::PublishDuckSelf(bool on) {
    if (own == nullptr)
        return false;
    StoreFlag(own->duckSelf, on);
    return ownChanged = true;
}

bool Visit::SetMyLatency(int samples) {
    if (own == nullptr)
        return false;
    own->latencySamples = samples;
    return ownChanged = true;
}

bool Visit::SetMyBypass(bool on) {
    if (own == nullptr)
        return false;
    StoreFlag(own->bypass, on);
    return ownChanged = true;
}

bool Visit::ReadMyBypass() {
    // Relaxed: a flag by itself, whichever thread read it last.
    if (own != nullptr)
        handle.cachedBypass.store(LoadFlag(own->bypass), std::memory_order_relaxed);
    return handle.cachedBypass.load(std::memory_order_relaxed);
}

bool Visit::PublishSilence() {
    if (own == nullptr)
        return false;
    Silence(*own);
    return true;
}

} // namespace shm

using namespace shm;

bool TessellaDuckworkSHM::SetDisplayName(const char* name) {
    return SingleVisit(*this).SetDisplayName(name);
}

std::uint64_t TessellaDuckworkSHM::WriteBands(const TDBand* bands, int n) {
    return SingleVisit(*this).WriteBands(SetOf(bands, n));
}

std::uint64_t TessellaDuckworkSHM::WriteHpLp(float hpHz, float lpHz) {
    return SingleVisit(*this).WriteHpLp({.hpHz = hpHz, .lpHz = lpHz});
}

std::uint64_t TessellaDuckworkSHM::WriteControls(float attackMs, float releaseMs, float makeupDb) {
    return SingleVisit(*this).WriteControls(
        {.attackMs = attackMs, .releaseMs = releaseMs, .makeupDb = makeupDb});
}

void TessellaDuckworkSHM::WriteState(const float* state) { TryVisit(*this).WriteState(state); }

void TessellaDuckworkSHM::WriteBins(const float* bins, int n) {
    SingleVisit(*this).WriteBins({bins, static_cast<std::size_t>(std::max(n, 0))});
}

bool TessellaDuckworkSHM::PublishDuckSelf(bool on) {
    return SingleVisit(*this).PublishDuckSelf(on);
}

bool TessellaDuckworkSHM::SetMyLatency(int samples) {
    return SingleVisit(*this).SetMyLatency(samples);
}

void TessellaDuckworkSHM::SetMyBypass(bool on) { SingleVisit(*this).SetMyBypass(on); }

bool TessellaDuckworkSHM::ReadMyBypass() { return Opened() && TryVisit(*this).ReadMyBypass(); }

std::optional<bool> TessellaDuckworkSHM::ReadMyDuckSelf() const {
    const SegmentUse segment(source);
    if (!segment || OwnerOf(segment->slots[SlotIndex()]) != MyId())
        return std::nullopt;
    return LoadFlag(segment->slots[SlotIndex()].duckSelf);
}

std::uint64_t TessellaDuckworkSHM::ReadOwnBands(TDBand* out, int& count, int max) {
    BandSet bands;
    const std::uint64_t seq = SingleVisit(*this).ReadOwnBands(bands);
    count = CopyBands(bands, out, max);
    return seq;
}

std::uint64_t TessellaDuckworkSHM::ReadOwnHpLp(float& hpHz, float& lpHz) {
    Filters filters;
    const std::uint64_t seq = SingleVisit(*this).ReadOwnHpLp(filters);
    hpHz = filters.hpHz;
    lpHz = filters.lpHz;
    return seq;
}

std::uint64_t TessellaDuckworkSHM::ReadOwnControls(float& attackMs, float& releaseMs,
                                                   float& makeupDb) {
    Controls controls;
    const std::uint64_t seq = SingleVisit(*this).ReadOwnControls(controls);
    attackMs = controls.attackMs;
    releaseMs = controls.releaseMs;
    makeupDb = controls.makeupDb;
    return seq;
}
