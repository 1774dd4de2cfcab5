#include "shm/LockedSlot.h"
#include "shm/TessellaDuckworkSHM.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <mutex>
#include <pthread.h>
#include <thread>
#include <unistd.h>

using namespace shm;
namespace bip = boost::interprocess;

namespace {

constexpr int kReadyChecks = 100;
constexpr std::chrono::milliseconds kReadyPause{10};

/// Lets one Open at a time run in this process.
std::mutex sInitMutex;

/// Creates the object at its full size; throws when it exists.
bip::shared_memory_object Create() {
    bip::shared_memory_object object(bip::create_only, kSegmentName, bip::read_write,
                                     bip::permissions(0644)); // exact, whatever the umask
    object.truncate(kSegmentBytes);
    // A full /dev/shm must fail here, not kill the host at the first store to the mapping.
    int error = 0;
    do
        error = posix_fallocate(object.get_mapping_handle().handle, 0, kSegmentBytes);
    while (error == EINTR);
    if (error != 0)
        throw bip::interprocess_exception(bip::error_info(error));
    return object;
}

/// Whether an existing object is, or within 1 s becomes, a registry of this layout.
bool BecomesReady(const bip::shared_memory_object& object) {
    bip::offset_t size = 0;
    if (!object.get_size(size))
        throw bip::interprocess_exception("the registry's size cannot be read");
    if (size != static_cast<bip::offset_t>(kSegmentBytes))
        return false;
    const bip::mapped_region probe(object, bip::read_only, 0, kSegmentBytes);
    const auto& segment = *static_cast<const RegistrySegment*>(probe.get_address());
    for (int check = 0; check < kReadyChecks; ++check) {
        if (IsReady(segment))
            return true;
        std::this_thread::sleep_for(kReadyPause);
    }
    return false;
}

/// Opens the registry object, replacing one that nobody can use. True when it is newly created
/// and so must be initialised; throws when the system refuses.
bool CreateOrJoin(bip::shared_memory_object& object) {
    try {
        object = Create();
        return true;
    } catch (const bip::interprocess_exception& refusal) {
        if (refusal.get_error_code() != bip::already_exists_error)
            throw;
    }
    object = bip::shared_memory_object(bip::open_only, kSegmentName, bip::read_write);
    if (BecomesReady(object))
        return false;
    object = bip::shared_memory_object();
    bip::shared_memory_object::remove(kSegmentName);
    object = Create();
    return true;
}

/// Makes the lock. Not left to boost's constructor: its newer versions make a robust mutex, which
/// builds with older ones do not expect in the segment.
void InitialiseMutex(bip::interprocess_mutex& mutex) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutex_init(reinterpret_cast<pthread_mutex_t*>(&mutex), &attributes);
    pthread_mutexattr_destroy(&attributes);
}

/// Makes an empty registry of a new object, to which nobody else writes yet.
void Initialise(void* bytes) {
    std::memset(bytes, 0, kSegmentBytes);
    auto& segment = *static_cast<RegistrySegment*>(bytes);
    segment.version = kLayoutVersion;
    InitialiseMutex(segment.mutex);
    // Release: whoever sees the magic word sees all of the above.
    segment.magic.store(kMagic, std::memory_order_release);
}

/// Whether the existing object may be removed: too short, or a registry without a live slot.
bool IsStale(const bip::shared_memory_object& object, int maxAgeSeconds) {
    bip::offset_t size = 0;
    if (!object.get_size(size) || size < static_cast<bip::offset_t>(kSegmentBytes))
        return true;
    const bip::mapped_region region(object, bip::read_only, 0, kSegmentBytes);
    const auto& segment = *static_cast<const RegistrySegment*>(region.get_address());
    if (segment.magic.load(std::memory_order_acquire) != kMagic)
        return false; // perhaps being initialised: Open waits for it
    const std::int64_t now = Now();
    return std::ranges::none_of(segment.slots, [now, maxAgeSeconds](const RegistrySlot& slot) {
        return IsActive(slot) && IsAlive(slot, now, maxAgeSeconds);
    });
}

} // namespace

TessellaDuckworkSHM::~TessellaDuckworkSHM() { Close(); }

bool TessellaDuckworkSHM::Open() {
    Close();
    const std::lock_guard guard(sInitMutex);
    ForceCleanIfStale(kAliveSeconds);
    try {
        JoinSegment();
        opened = ClaimSlot();
    } catch (const std::exception&) {
        opened = false;
    }
    if (!opened)
        ResetMembers();
    return opened;
}

void TessellaDuckworkSHM::Close() noexcept {
    try {
        const PatientLock lock(OpenSegment());
        if (lock)
            OwnSlot().active.exchange(0, std::memory_order_relaxed); // the lock publishes
    } catch (const std::exception&) {
        // The slot stays marked active until its heartbeat is too old.
    }
    ResetMembers();
}

void TessellaDuckworkSHM::Touch() {
    const TryLock lock(OpenSegment());
    if (lock && OwnSlot().instanceId == myId)
        Revive(OwnSlot());
}

void TessellaDuckworkSHM::CleanDead() {
    const std::int64_t now = Now();
    const PatientLock lock(OpenSegment());
    if (!lock)
        return;
    header->slotHighWater = 0;
    for (std::int32_t i = 0; i < kSlotCount; ++i) {
        RegistrySlot& slot = header->slots[static_cast<std::size_t>(i)];
        if (slot.instanceId != myId && IsActive(slot) && !IsAlive(slot, now, kAliveSeconds))
            slot.active.exchange(0, std::memory_order_relaxed); // the lock publishes
        if (IsActive(slot))
            header->slotHighWater = i + 1;
    }
}

void TessellaDuckworkSHM::ForceCleanIfStale(int maxAgeSeconds) noexcept {
    try {
        bip::shared_memory_object object(bip::open_only, kSegmentName, bip::read_only);
        if (IsStale(object, maxAgeSeconds))
            bip::shared_memory_object::remove(kSegmentName);
    } catch (const std::exception&) {
        // No segment, or none that may be judged: nothing to clean.
    }
}

bool TessellaDuckworkSHM::GetActiveInstances(std::vector<TDInstanceInfo>& out) const {
    out.clear();
    out.reserve(kSlotCount);
    const PatientLock lock(OpenSegment());
    if (!lock)
        return false;
    for (const RegistrySlot& slot : header->slots) {
        if (!IsActive(slot) || slot.instanceId == myId)
            continue;
        TDInstanceInfo& info = out.emplace_back();
        info.id = slot.instanceId;
        LoadName(slot, info.name);
    }
    return true;
}

RegistrySlot& TessellaDuckworkSHM::OwnSlot() const {
    return header->slots[static_cast<std::size_t>(slotIndex)];
}

void TessellaDuckworkSHM::JoinSegment() {
    const bool created = CreateOrJoin(object);
    region = bip::mapped_region(object, bip::read_write, 0, kSegmentBytes);
    if (created)
        Initialise(region.get_address());
    header = static_cast<RegistrySegment*>(region.get_address());
    myId = (static_cast<std::uint64_t>(getpid()) << 32) ^ reinterpret_cast<std::uintptr_t>(this);
}

bool TessellaDuckworkSHM::ClaimSlot() {
    const PatientLock lock(header);
    if (!lock)
        return false;
    const auto slot = std::ranges::find_if_not(header->slots, IsActive);
    if (slot == header->slots.end())
        return false;
    slotIndex = static_cast<std::int32_t>(slot - header->slots.begin());
    ClearSlot(*slot);
    slot->instanceId = myId;
    Revive(*slot);
    StoreName(*slot, "TessellaDuckwork");
    header->slotHighWater = std::max(header->slotHighWater, slotIndex + 1);
    return true;
}

void TessellaDuckworkSHM::ResetMembers() {
    header = nullptr;
    opened = false;
    slotIndex = -1;
    myId = 0;
    remoteId.store(0, std::memory_order_relaxed); // the handle has no other user now
    held = {};
    published.reset();
}
