#include "shm/Membership.h"

#include "shm/RegistryLock.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <pthread.h>
#include <system_error>
#include <thread>

namespace shm {
namespace {

constexpr int kReadyChecks = 100;
constexpr std::chrono::milliseconds kReadyPause{10};
/// How often the registry may be replaced under our hands before we give up.
constexpr int kJoinTries = 8;

[[noreturn]] void Refuse(std::errc reason) {
    throw std::system_error(std::make_error_code(reason));
}

/// Makes the lock. Not left to boost's constructor: its newer versions make a robust mutex, which
/// builds with older ones do not expect in the segment.
void InitialiseMutex(RegistrySegment& segment) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutex_init(&NativeMutex(segment), &attributes);
    pthread_mutexattr_destroy(&attributes);
}

/// Makes an empty registry of a new object, to which nobody else writes yet.
void Initialise(RegistrySegment& segment) {
    std::memset(static_cast<void*>(&segment), 0, kSegmentBytes);
    segment.version = kLayoutVersion;
    InitialiseMutex(segment);
    // Release: whoever sees the magic word sees all of the above.
    segment.magic.store(kMagic, std::memory_order_release);
}

bool HasMagic(const RegistrySegment& segment) {
    return segment.magic.load(std::memory_order_acquire) == kMagic; // as IsReady
}

RegistrySegment& SegmentIn(const GuardedMapping& mapping) {
    return *static_cast<RegistrySegment*>(mapping.Address());
}

/// Whether an existing object is, or within the given number of checks becomes, a registry of this
/// layout.
bool BecomesReady(const SegmentObject& object, GuardedMapping& mapping, int checks) {
    for (int check = 1;; ++check) {
        const std::size_t size = object.Size();
        if (size != 0 && size != kSegmentBytes)
            return false; // while it is made it has no size, then the right one
        if (size != 0 && mapping.Address() == nullptr)
            mapping = GuardedMapping(object, SegmentObject::Access::ReadWrite);
        if (size != 0 && IsReady(SegmentIn(mapping)))
            return true;
        if (check == checks)
            return false;
        std::this_thread::sleep_for(kReadyPause);
    }
}

/// Whether nobody is going to make a registry of this any more. One of another layout may be in
/// use.
bool IsAbandoned(const SegmentObject& object) {
    if (object.IsYoung(kAliveSeconds) || object.Size() > kSegmentBytes)
        return false;
    return object.Size() < kSegmentBytes ||
           !HasMagic(SegmentIn(GuardedMapping(object, SegmentObject::Access::ReadWrite)));
}

/// The registry's object with its segment; nothing when it has just changed, to be tried again.
Membership FindOrMake(Arrival arrival) {
    Membership found;
    found.object = SegmentObject::OpenExisting(SegmentObject::Access::ReadWrite);
    if (!found.object) {
        found.object = SegmentObject::Create();
        if (!found.object)
            return {};
        found.mapping = GuardedMapping(found.object, SegmentObject::Access::ReadWrite);
        Initialise(SegmentIn(found.mapping));
    } else {
        if (!found.object.IsOwn())
            Refuse(std::errc::permission_denied); // its owner could do with it what he likes
        found.object.CloseToOthers();
        if (!BecomesReady(found.object, found.mapping,
                          arrival == Arrival::Start ? kReadyChecks : 1)) {
            if (arrival == Arrival::WhileRunning && !IsAbandoned(found.object))
                Refuse(std::errc::resource_unavailable_try_again);
            found.object.RemoveIf([&found] {
                return found.mapping.Address() == nullptr || !IsReady(SegmentIn(found.mapping));
            });
            return {};
        }
    }
    found.segment = &SegmentIn(found.mapping);
    return found;
}

/// Claims the first free slot. False when the lock is busy or there is none.
bool ClaimSlot(Membership& member, std::uint64_t id, const SlotMemory& memory) {
    const PatientLock lock(member.segment);
    if (!lock)
        return false;
    RegistrySegment& segment = *member.segment;
    SweepDead(segment, id); // or the dead would keep newcomers out until somebody sweeps
    const auto slot = std::ranges::find_if_not(segment.slots, IsActive);
    if (slot == segment.slots.end())
        return false;
    member.slotIndex = static_cast<std::int32_t>(slot - segment.slots.begin());
    ClearSlot(*slot);
    slot->instanceId.store(id, std::memory_order_relaxed); // the lock publishes
    RestoreSlot(segment, *slot, memory);
    Revive(*slot);
    segment.slotHighWater = std::max(segment.slotHighWater, member.slotIndex + 1);
    return true;
}

/// Gives a slot back that was claimed in a segment which nobody finds any more.
void GiveBack(const Membership& member) {
    if (const PatientLock lock(member.segment); lock)
        member.segment->slots[static_cast<std::size_t>(member.slotIndex)].active.exchange(
            0, std::memory_order_relaxed); // the lock publishes
}

} // namespace

Membership JoinRegistry(std::uint64_t id, const SlotMemory& memory, Arrival arrival) {
    for (int attempt = 0; attempt < kJoinTries; ++attempt) {
        Membership member = FindOrMake(arrival);
        if (member.segment == nullptr)
            continue;
        if (!ClaimSlot(member, id, memory))
            Refuse(std::errc::device_or_resource_busy);
        if (member.object.IsNamed())
            return member;
        GiveBack(member);
    }
    Refuse(std::errc::resource_unavailable_try_again);
}

bool IsStale(const SegmentObject& object, int maxAgeSeconds) {
    const std::size_t size = object.Size();
    if (size == 0)
        return !object.IsYoung(maxAgeSeconds); // it gets its size in the next moment
    if (size < kSegmentBytes)
        return true;
    const GuardedMapping mapping(object, SegmentObject::Access::Read);
    const RegistrySegment& segment = SegmentIn(mapping);
    if (!HasMagic(segment))
        return false; // perhaps being initialised: whoever joins waits for it
    const bool fresh = std::ranges::all_of(
        segment.slots, [](const RegistrySlot& slot) { return OwnerOf(slot) == 0; });
    if (fresh && object.IsYoung(maxAgeSeconds))
        return false; // its maker is about to claim the first slot
    const std::int64_t now = Now();
    return std::ranges::none_of(segment.slots, [now, maxAgeSeconds](const RegistrySlot& slot) {
        return IsActive(slot) && IsAlive(slot, now, maxAgeSeconds);
    });
}

} // namespace shm
