#include "shm/TessellaDuckworkSHM.h"

#include <algorithm>
#include <array>

namespace shm {

RegistrySlot* Visit::Of(std::uint64_t id) const {
    return lock ? FindSlot(*segment.Get(), id) : nullptr;
}

RegistrySlot* Visit::Peer() const { return Of(handle.RemoteId()); }

void Visit::SetRemoteId(std::uint64_t id) {
    handle.remoteId.store(id, std::memory_order_relaxed); // a value by itself, publishes nothing
    if (own == nullptr)
        return;
    LinkSlot(*segment.Get(), *own, handle.MyId(), id);
    ownChanged = true;
}

void Visit::SyncRemoteId() {
    if (own != nullptr)
        handle.remoteId.store(own->remoteId.load(std::memory_order_relaxed),
                              std::memory_order_relaxed); // as in SetRemoteId
}

std::uint64_t Visit::ReadRemoteBands(BandSet& out) const { return LoadBands(Peer(), out); }
std::uint64_t Visit::ReadRemoteHpLp(Filters& out) const { return LoadHpLp(Peer(), out); }
std::uint64_t Visit::ReadRemoteControls(Controls& out) const { return LoadControls(Peer(), out); }

std::uint64_t Visit::WriteRemoteBands(const BandSet& bands) {
    RegistrySlot* const peer = Peer();
    return peer != nullptr ? StoreBands(*peer, bands.bands.data(), bands.count) : 0;
}

std::uint64_t Visit::WriteRemoteHpLp(const Filters& filters) {
    RegistrySlot* const peer = Peer();
    return peer != nullptr ? StoreHpLp(*peer, filters) : 0;
}

std::uint64_t Visit::WriteRemoteControls(const Controls& controls) {
    RegistrySlot* const peer = Peer();
    return peer != nullptr ? StoreControls(*peer, controls) : 0;
}

bool Visit::ReadRemoteGR(float* gr) const {
    const RegistrySlot* const peer = Peer();
    if (peer != nullptr)
        std::ranges::copy(peer->gainReduction, gr);
    return peer != nullptr;
}

bool Visit::ReadRemoteAudioBins(std::span<float> out) const {
    const RegistrySlot* const peer = Peer();
    if (peer != nullptr)
        LoadAudioBins(*peer, out.data(), static_cast<int>(out.size()));
    return peer != nullptr;
}

void Visit::SetBypassOf(std::uint64_t id, bool on) {
    if (RegistrySlot* const slot = Of(id))
        StoreFlag(slot->bypass, on);
}

bool Visit::ReadBypassOf(std::uint64_t id) const {
    const RegistrySlot* const slot = Of(id);
    return slot != nullptr && LoadFlag(slot->bypass);
}

void Visit::SetDuckSelfOf(std::uint64_t id, bool on) {
    if (RegistrySlot* const slot = Of(id))
        StoreFlag(slot->duckSelf, on);
}

bool Visit::ReadDuckSelfOf(std::uint64_t id) const {
    const RegistrySlot* const slot = Of(id);
    return slot == nullptr || LoadFlag(slot->duckSelf);
}

bool Visit::IsFree(std::uint64_t id) const {
    const RegistrySlot* const slot = Of(id);
    if (slot == nullptr)
        return false;
    const std::uint64_t partner = slot->remoteId.load(std::memory_order_relaxed);
    return partner == 0 || partner == handle.MyId() || Of(partner) == nullptr;
}

bool Visit::ReadNameOf(std::uint64_t id, Name& out) const {
    const RegistrySlot* const slot = Of(id);
    if (slot != nullptr)
        LoadName(*slot, out.data());
    return slot != nullptr;
}

bool Visit::GetActiveInstances(std::vector<TDInstanceInfo>& out) const {
    out.clear();
    if (!lock)
        return false;
    for (const RegistrySlot& slot : segment->slots) {
        if (!IsActive(slot) || OwnerOf(slot) == handle.MyId())
            continue;
        TDInstanceInfo& info = out.emplace_back();
        info.id = OwnerOf(slot);
        LoadName(slot, info.name);
    }
    return true;
}

void Visit::CleanDead() {
    if (lock)
        SweepDead(*segment.Get(), handle.MyId());
}

} // namespace shm

using namespace shm;

void TessellaDuckworkSHM::SetRemoteId(std::uint64_t id) { SingleVisit(*this).SetRemoteId(id); }
void TessellaDuckworkSHM::SyncRemoteId() { TryVisit(*this).SyncRemoteId(); }

std::uint64_t TessellaDuckworkSHM::ReadRemoteBands(TDBand* out, int& count, int max) {
    BandSet bands;
    const std::uint64_t seq = SingleVisit(*this).ReadRemoteBands(bands);
    count = CopyBands(bands, out, max);
    return seq;
}

std::uint64_t TessellaDuckworkSHM::ReadRemoteHpLp(float& hpHz, float& lpHz) {
    Filters filters;
    const std::uint64_t seq = SingleVisit(*this).ReadRemoteHpLp(filters);
    hpHz = filters.hpHz;
    lpHz = filters.lpHz;
    return seq;
}

std::uint64_t TessellaDuckworkSHM::ReadRemoteControls(float& attackMs, float& releaseMs,
                                                      float& makeupDb) {
    Controls controls;
    const std::uint64_t seq = SingleVisit(*this).ReadRemoteControls(controls);
    attackMs = controls.attackMs;
    releaseMs = controls.releaseMs;
    makeupDb = controls.makeupDb;
    return seq;
}

bool TessellaDuckworkSHM::ReadRemoteGR(float* gr) { return TryVisit(*this).ReadRemoteGR(gr); }

bool TessellaDuckworkSHM::ReadRemoteAudioBins(float* out, int n) {
    return TryVisit(*this).ReadRemoteAudioBins({out, static_cast<std::size_t>(std::max(n, 0))});
}

std::uint64_t TessellaDuckworkSHM::WriteRemoteBands(const TDBand* bands, int n) {
    return SingleVisit(*this).WriteRemoteBands(SetOf(bands, n));
}

std::uint64_t TessellaDuckworkSHM::WriteRemoteHpLp(float hpHz, float lpHz) {
    return SingleVisit(*this).WriteRemoteHpLp({.hpHz = hpHz, .lpHz = lpHz});
}

std::uint64_t TessellaDuckworkSHM::WriteRemoteControls(float attackMs, float releaseMs,
                                                       float makeupDb) {
    return SingleVisit(*this).WriteRemoteControls(
        {.attackMs = attackMs, .releaseMs = releaseMs, .makeupDb = makeupDb});
}

void TessellaDuckworkSHM::SetBypassOf(std::uint64_t id, bool on) {
    SingleVisit(*this).SetBypassOf(id, on);
}

bool TessellaDuckworkSHM::ReadBypassOf(std::uint64_t id) {
    return TryVisit(*this).ReadBypassOf(id);
}

void TessellaDuckworkSHM::SetDuckSelfOf(std::uint64_t id, bool on) {
    SingleVisit(*this).SetDuckSelfOf(id, on);
}

bool TessellaDuckworkSHM::ReadDuckSelfOf(std::uint64_t id) {
    return TryVisit(*this).ReadDuckSelfOf(id);
}

bool TessellaDuckworkSHM::GetActiveInstances(std::vector<TDInstanceInfo>& out) {
    return SingleVisit(*this).GetActiveInstances(out);
}

void TessellaDuckworkSHM::CleanDead() { SingleVisit(*this).CleanDead(); }
