#include "shm/RegistryMonitor.h"

#include "shm/LockedSlot.h"
#include "shm/Pairing.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <system_error>
#include <thread>

namespace shm {
namespace {

constexpr int kReadTries = 5;
constexpr std::chrono::milliseconds kReadPause{2};

/// The mapped registry; throws when it is absent, not permitted in this mode or of another size.
GuardedMapping Map(SegmentObject::Access access) {
    const auto object = SegmentObject::OpenExisting(access);
    if (!object || object.Size() != kSegmentBytes)
        throw std::system_error(std::make_error_code(std::errc::no_such_file_or_directory));
    return {object, access};
}

SlotSnapshot Copy(const RegistrySlot& slot, int index) {
    SlotSnapshot copy;
    copy.index = index;
    copy.id = OwnerOf(slot);
    copy.remoteId = slot.remoteId.load(std::memory_order_relaxed);
    LoadName(slot, copy.name);
    copy.active = IsActive(slot);
    copy.latencySamples = slot.latencySamples;
    copy.heartbeat = slot.heartbeat.load(std::memory_order_relaxed);
    std::ranges::copy(slot.state, copy.state);
    std::ranges::copy(slot.gainReduction, copy.gainReduction);
    copy.bandsSeq = LoadBands(&slot, copy.bands, copy.bandCount, kBandCount);
    copy.hpLpSeq = LoadHpLp(&slot, copy.hpHz, copy.lpHz);
    copy.controlsSeq = LoadControls(&slot, copy.attackMs, copy.releaseMs, copy.makeupDb);
    copy.audioBinsSeq = LoadSeq(slot.audioBinsSeq);
    copy.bypass = LoadFlag(slot.bypass);
    copy.duckSelf = LoadFlag(slot.duckSelf);
    return copy;
}

void CopyAll(const RegistrySegment& segment, std::vector<SlotSnapshot>& out) {
    for (const RegistrySlot& slot : segment.slots)
        out.push_back(Copy(slot, static_cast<int>(out.size())));
}

} // namespace

bool RegistryMonitor::Attach() noexcept {
    segment = nullptr;
    writing.Lead(nullptr);
    using enum SegmentObject::Access;
    for (const SegmentObject::Access access : {ReadWrite, Read}) {
        try {
            mapping = Map(access);
        } catch (const std::exception&) {
            continue;
        }
        auto& mapped = *static_cast<RegistrySegment*>(mapping.Address());
        if (!IsReady(mapped))
            return false;
        segment = &mapped;
        writable = access == ReadWrite;
        writing.Lead(writable ? segment : nullptr);
        return true;
    }
    return false;
}

bool RegistryMonitor::ReadSlots(std::vector<SlotSnapshot>& out) const {
    out.clear();
    out.reserve(kSlotCount);
    if (!segment)
        return false;
    for (int attempt = 0; writable && attempt < kReadTries; ++attempt) {
        if (attempt > 0)
            std::this_thread::sleep_for(kReadPause);
        if (const TryLock lock(segment); lock) {
            CopyAll(*segment, out);
            return true;
        }
    }
    CopyAll(*segment, out);
    return false;
}

bool RegistryMonitor::Pair(std::uint64_t idA, std::uint64_t idB) {
    const LockedSlot<PatientLock> slot(writing, idA);
    if (!slot || idA == idB || !FindSlot(*segment, idB))
        return false;
    LinkSlot(*segment, *slot, idA, idB);
    return true;
}

bool RegistryMonitor::Unpair(std::uint64_t id) {
    const LockedSlot<PatientLock> slot(writing, id);
    if (slot)
        LinkSlot(*segment, *slot, id, 0);
    return static_cast<bool>(slot);
}

bool RegistryMonitor::Rename(std::uint64_t id, const char* name) {
    const LockedSlot<PatientLock> slot(writing, id);
    if (slot)
        StoreName(*slot, name);
    return static_cast<bool>(slot);
}

bool RegistryMonitor::SetBypassOf(std::uint64_t id, bool on) {
    const LockedSlot<PatientLock> slot(writing, id);
    if (slot)
        StoreFlag(slot->bypass, on);
    return static_cast<bool>(slot);
}

bool RegistryMonitor::SetDuckSelfOf(std::uint64_t id, bool on) {
    const LockedSlot<PatientLock> slot(writing, id);
    if (slot)
        StoreFlag(slot->duckSelf, on);
    return static_cast<bool>(slot);
}

std::uint64_t RegistryMonitor::WriteBandsOf(std::uint64_t id, const TDBand* bands, int n) {
    const LockedSlot<PatientLock> slot(writing, id);
    return slot ? StoreBands(*slot, bands, n) : 0;
}

std::uint64_t RegistryMonitor::WriteHpLpOf(std::uint64_t id, float hpHz, float lpHz) {
    const LockedSlot<PatientLock> slot(writing, id);
    return slot ? StoreHpLp(*slot, hpHz, lpHz) : 0;
}

std::uint64_t RegistryMonitor::WriteControlsOf(std::uint64_t id, float attackMs, float releaseMs,
                                               float makeupDb) {
    const LockedSlot<PatientLock> slot(writing, id);
    return slot ? StoreControls(*slot, attackMs, releaseMs, makeupDb) : 0;
}

} // namespace shm
