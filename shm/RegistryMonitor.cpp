#include "shm/RegistryMonitor.h"

#include "shm/RegistryLock.h"

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
    Settings settings;
    copy.bandsSeq = LoadBands(&slot, settings.bands);
    copy.hpLpSeq = LoadHpLp(&slot, settings.filters);
    copy.controlsSeq = LoadControls(&slot, settings.controls);
    copy.bandCount = CopyBands(settings.bands, copy.bands, kBandCount);
    copy.hpHz = settings.filters.hpHz;
    copy.lpHz = settings.filters.lpHz;
    copy.attackMs = settings.controls.attackMs;
    copy.releaseMs = settings.controls.releaseMs;
    copy.makeupDb = settings.controls.makeupDb;
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

/// What the change of an instance's slot gives; false or 0 without that slot or its lock.
template <class Change>
std::invoke_result_t<Change, RegistrySlot&> RegistryMonitor::ChangeSlotOf(std::uint64_t id,
                                                                          Change&& change) {
    const PatientLock lock(writable ? segment : nullptr);
    RegistrySlot* const slot = lock ? FindSlot(*segment, id) : nullptr;
    return slot != nullptr ? change(*slot) : std::invoke_result_t<Change, RegistrySlot&>{};
}

bool RegistryMonitor::Pair(std::uint64_t idA, std::uint64_t idB) {
    return ChangeSlotOf(idA, [&](RegistrySlot& slot) {
        const bool possible = idA != idB && FindSlot(*segment, idB) != nullptr;
        if (possible)
            LinkSlot(*segment, slot, idA, idB);
        return possible;
    });
}

bool RegistryMonitor::Unpair(std::uint64_t id) {
    return ChangeSlotOf(id, [&](RegistrySlot& slot) {
        LinkSlot(*segment, slot, id, 0);
        return true;
    });
}

bool RegistryMonitor::Rename(std::uint64_t id, const char* name) {
    return ChangeSlotOf(id, [&](RegistrySlot& slot) {
        StoreName(slot, name);
        return true;
    });
}

bool RegistryMonitor::SetBypassOf(std::uint64_t id, bool on) {
    return ChangeSlotOf(id, [&](RegistrySlot& slot) {
        StoreFlag(slot.bypass, on);
        return true;
    });
}

bool RegistryMonitor::SetDuckSelfOf(std::uint64_t id, bool on) {
    return ChangeSlotOf(id, [&](RegistrySlot& slot) {
        StoreFlag(slot.duckSelf, on);
        return true;
    });
}

std::uint64_t RegistryMonitor::WriteBandsOf(std::uint64_t id, const TDBand* bands, int n) {
    return ChangeSlotOf(id, [&](RegistrySlot& slot) { return StoreBands(slot, bands, n); });
}

std::uint64_t RegistryMonitor::WriteHpLpOf(std::uint64_t id, float hpHz, float lpHz) {
    return ChangeSlotOf(
        id, [&](RegistrySlot& slot) { return StoreHpLp(slot, {.hpHz = hpHz, .lpHz = lpHz}); });
}

std::uint64_t RegistryMonitor::WriteControlsOf(std::uint64_t id, float attackMs, float releaseMs,
                                               float makeupDb) {
    return ChangeSlotOf(id, [&](RegistrySlot& slot) {
        return StoreControls(slot,
                             {.attackMs = attackMs, .releaseMs = releaseMs, .makeupDb = makeupDb});
    });
}

} // namespace shm
