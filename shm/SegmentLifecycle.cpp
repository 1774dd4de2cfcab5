#include "shm/TessellaDuckworkSHM.h"

#include <boost/interprocess/exceptions.hpp>
#include <exception>
#include <limits>
#include <mutex>
#include <set>
#include <unistd.h>
#include <utility>

using namespace shm;

namespace {

/// Lets one thread at a time in this process join the registry.
std::mutex sInitMutex;

std::mutex sLivingMutex;
std::set<std::uint64_t> sLivingIds; ///< of this process' open handles; guarded by sLivingMutex

/// For a thread whose owner may be about to end it: long enough for anybody but a dead or stopped
/// process.
constexpr int kBriefPauses = 5;

} // namespace

TessellaDuckworkSHM::~TessellaDuckworkSHM() { Close(); }

bool TessellaDuckworkSHM::Open() {
    Close();
    const std::lock_guard guard(sInitMutex);
    return Enter(Arrival::Start);
}

bool TessellaDuckworkSHM::OpenLater() noexcept {
    if (Opened())
        return true;
    const std::unique_lock guard(sInitMutex, std::try_to_lock);
    const LockBudget brief(kBriefPauses);
    return guard && Enter(Arrival::WhileRunning);
}

bool TessellaDuckworkSHM::Enter(Arrival arrival) noexcept try {
    ForceCleanIfStale(kAliveSeconds);
    const std::uint64_t id =
        (static_cast<std::uint64_t>(getpid()) << 32) ^ reinterpret_cast<std::uintptr_t>(this);
    memory = {.displayName = {"TessellaDuckwork"}};
    MoveTo(JoinRegistry(id, memory, arrival), id);
    return true;
} catch (const std::exception&) {
    return false;
}

void TessellaDuckworkSHM::Close() noexcept {
    // With a busy lock the slot stays marked active until its heartbeat is too old.
    if (const PatientVisit visit(*this); RegistrySlot* const own = visit.Own())
        own->active.exchange(0, std::memory_order_relaxed); // the lock publishes
    ResetMembers();
}

void TessellaDuckworkSHM::Touch() noexcept {
    if (!Opened())
        return;
    if (source.IsIdle())
        retired.clear();
    const bool alive = ShowLife() || HoldsSlot(Now() - kAliveSeconds); // or the lock is merely busy
    if (!alive || !IsAtHome())
        ComeBack();
}

/// False when the slot cannot be had, also for a lock that is broken and not only busy.
bool TessellaDuckworkSHM::ShowLife() noexcept {
    const TryVisit visit(*this);
    RegistrySlot* const own = visit.Own();
    if (own == nullptr)
        return false;
    Revive(*own);
    Remember(*own);
    return true;
}

/// Whether newcomers find the segment of this handle under the registry's name.
bool TessellaDuckworkSHM::IsAtHome() const noexcept try {
    return IsReady(*SegmentUse(source)) && object.IsNamed();
} catch (const std::exception&) {
    return false;
}

/// Claims another slot when the own one, or the segment that it lies in, is lost: swept while this
/// process stood still, removed, emptied, or locked for good by a process that died. A segment in
/// use that cannot be joined is left alone, and so is this handle, until a later heartbeat.
void TessellaDuckworkSHM::ComeBack() noexcept try {
    const std::unique_lock guard(sInitMutex, std::try_to_lock);
    if (!guard)
        return;
    const LockBudget brief(kBriefPauses);
    ForceCleanIfStale(kAliveSeconds);
    constexpr std::int64_t kEver = std::numeric_limits<std::int64_t>::min();
    if (HoldsSlot(kEver) && IsAtHome())
        return; // the lock is lost, but not for everybody's ten seconds yet
    Membership next = JoinRegistry(MyId(), Remembered(), Arrival::WhileRunning);
    // Only in a segment that is left: in the same one the old slot is lost, or just claimed again.
    if (!IsAtHome())
        if (const TryVisit visit(*this); RegistrySlot* const left = visit.Own())
            left->active.exchange(0, std::memory_order_relaxed); // the lock publishes
    MoveTo(std::move(next), MyId());
} catch (const std::exception&) {
    // Later, perhaps.
}

/// Whether the slot is still this instance's and has shown life since then.
bool TessellaDuckworkSHM::HoldsSlot(std::int64_t since) const {
    const SegmentUse segment(source);
    const RegistrySlot& slot = segment->slots[SlotIndex()];
    return OwnerOf(slot) == MyId() && IsAlive(slot, since, 0);
}

void TessellaDuckworkSHM::ForceCleanIfStale(int maxAgeSeconds) noexcept {
    try {
        const auto found = SegmentObject::OpenExisting(SegmentObject::Access::Read);
        const auto stale = [&] { return IsStale(found, maxAgeSeconds); };
        if (found && found.IsOwn() && stale())
            found.RemoveIf(stale);
    } catch (const std::exception&) {
        // No segment, or none that may be judged: nothing to clean.
    }
}

bool TessellaDuckworkSHM::IsOfThisProcess(std::uint64_t id) {
    const std::lock_guard guard(sLivingMutex);
    return sLivingIds.contains(id);
}

TessellaDuckworkSHM::SingleVisit::SingleVisit(TessellaDuckworkSHM& visitor)
    : PatientVisit(visitor) {
    if (IsBroken())
        throw boost::interprocess::lock_exception();
}

Visit::Visit(TessellaDuckworkSHM& visitor, const SegmentUse& used, TryLock& taken)
    : handle(visitor), segment(used), lock(taken) {
    RegistrySlot* const slot = lock ? &segment->slots[handle.SlotIndex()] : nullptr;
    if (slot != nullptr && OwnerOf(*slot) == handle.MyId())
        own = slot;
}

Visit::~Visit() {
    if (ownChanged)
        handle.Remember(*own);
}

/// Makes a claimed slot the own one. Other threads may be at work in the former segment.
void TessellaDuckworkSHM::MoveTo(Membership&& member, std::uint64_t id) {
    if (Opened())
        retired.push_back(std::move(mapping));
    object = std::move(member.object);
    mapping = std::move(member.mapping);
    slotIndex.store(member.slotIndex, std::memory_order_relaxed);
    myId.store(id, std::memory_order_relaxed); // the segment publishes both
    source.Lead(member.segment);
    {
        const std::lock_guard guard(sLivingMutex);
        sLivingIds.insert(id);
    }
    opened.store(true, std::memory_order_release); // last: what finds it true finds the rest
}

/// Keeps what the own slot holds, for ComeBack. The registry lock is held. Never waits: where
/// another thread is at it, that one sees the same slot, or a newer one.
void TessellaDuckworkSHM::Remember(const RegistrySlot& slot) {
    if (const std::unique_lock guard(memoryMutex, std::try_to_lock); guard)
        memory = SaveSlot(slot);
}

SlotMemory TessellaDuckworkSHM::Remembered() {
    const std::lock_guard guard(memoryMutex);
    return memory;
}

void TessellaDuckworkSHM::ResetMembers() {
    {
        const std::lock_guard guard(sLivingMutex);
        sLivingIds.erase(MyId());
    }
    source.Lead(nullptr);
    // Relaxed: the handle has no other user now.
    opened.store(false, std::memory_order_relaxed);
    slotIndex.store(0, std::memory_order_relaxed);
    myId.store(0, std::memory_order_relaxed);
    remoteId.store(0, std::memory_order_relaxed);
    retired.clear();
    held = {};
    published.reset();
}
