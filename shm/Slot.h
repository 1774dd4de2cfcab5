/// What is done to the segment and its slots, whoever they belong to. Every function wants the
/// registry lock held, unless it says otherwise. None waits, allocates or throws. [any]
#pragma once

#include "shm/SegmentLayout.h"

#include <ctime>

namespace shm {

/// Seconds without a sign of life that an instance survives; one more and it counts as dead.
inline constexpr int kAliveSeconds = 10;

/// A band field that nobody has written.
inline constexpr TDBand kNoBand{.loHz = 0, .hiHz = 0, .threshDb = 0, .ratio = 0, .enabled = false};

/// Wall clock, whole seconds since the Unix epoch; the unit of RegistrySlot::heartbeat.
inline std::int64_t Now() { return std::time(nullptr); }

/// Whether the segment is completely initialised and of this layout. Needs no lock.
inline bool IsReady(const RegistrySegment& segment) {
    // Acquire: whoever sees the magic word sees what was stored before it, the mutex included.
    return segment.magic.load(std::memory_order_acquire) == kMagic &&
           segment.version == kLayoutVersion;
}

/// Whether the slot is in use. Needs no lock.
inline bool IsActive(const RegistrySlot& slot) {
    // Says nothing about the other fields: those are read under the lock.
    return (slot.active.load(std::memory_order_relaxed) & 1U) != 0;
}

/// Whose slot it is. Needs no lock; under it, the answer lasts.
inline std::uint64_t OwnerOf(const RegistrySlot& slot) {
    return slot.instanceId.load(std::memory_order_relaxed); // the lock publishes the rest
}

/// Whether the owner gave a sign of life in the last maxAgeSeconds before now. Needs no lock.
inline bool IsAlive(const RegistrySlot& slot, std::int64_t now, int maxAgeSeconds) {
    // The heartbeat may be any number of a foreign writer: nothing is subtracted from it.
    return slot.heartbeat.load(std::memory_order_relaxed) >= now - maxAgeSeconds;
}

/// The active slot of an instance; null for id 0 and for an unknown id. The search starts at slot
/// `from`: who knows where it was last spares the cache misses of the others. Needs no lock; under
/// it, the answer lasts.
RegistrySlot* FindSlot(RegistrySegment& segment, std::uint64_t id, std::size_t from = 0);

/// Zeroes the slot, padding included.
void ClearSlot(RegistrySlot& slot);

/// Marks the slot in use and alive now.
void Revive(RegistrySlot& slot);

/// Copies up to 63 bytes of a NUL-terminated name, zero-filled.
void StoreName(RegistrySlot& slot, const char* name);

/// Copies the name and terminates the copy, even if the slot's name is not.
void LoadName(const RegistrySlot& slot, char* name);

/// Frees the slots of instances, other than one, without a sign of life for 11 s.
void SweepDead(RegistrySegment& segment, std::uint64_t exceptId);

/// Pairs the instance of `slot` with `peerId`, or unpairs it with 0: at most one peer each, and
/// both sides of a pair point at each other. Former peers of either side are released if they still
/// pointed back; a third instance that has moved on is left alone. An unknown peerId leaves the
/// slot pointing at it.
void LinkSlot(RegistrySegment& segment, RegistrySlot& slot, std::uint64_t slotId,
              std::uint64_t peerId);

/// Each store writes a whole settings group, steps its counter and returns the new value; each
/// load copies a group and returns the counter; without a slot (null), as when its lock was not to
/// be had, it gives no bands, the defaults, and 0. Band counts: stored min(n, 3), also when
/// negative; loaded 0 to 3.
std::uint64_t StoreBands(RegistrySlot& slot, const TDBand* bands, int n);
std::uint64_t StoreHpLp(RegistrySlot& slot, const Filters& filters);
std::uint64_t StoreControls(RegistrySlot& slot, const Controls& controls);
std::uint64_t LoadBands(const RegistrySlot* slot, BandSet& out);
std::uint64_t LoadHpLp(const RegistrySlot* slot, Filters& out);
std::uint64_t LoadControls(const RegistrySlot* slot, Controls& out);

/// A band list as arrays and count have it: min(n, 3) bands; and back, at most `max` of them.
BandSet SetOf(const TDBand* bands, int n);
int CopyBands(const BandSet& set, TDBand* out, int max);

/// The lasting part of a slot, which an instance takes with it when it has to claim another, with
/// its counters: whoever has recorded those sees no change in a slot that has been restored. The
/// defaults are those of a slot just claimed.
struct SlotMemory {
    std::uint64_t remoteId = 0;
    Name displayName{};
    std::int32_t latencySamples = 0;
    std::uint64_t bandsSeq = 0, hpLpSeq = 0, controlsSeq = 0;
    Settings settings{.bands = {.bands = {kNoBand, kNoBand, kNoBand}},
                      .filters = {.hpHz = 0, .lpHz = 0},
                      .controls = {.attackMs = 0, .releaseMs = 0, .makeupDb = 0}};
    std::uint8_t bypass = 0, duckSelf = 0;
};

SlotMemory SaveSlot(const RegistrySlot& slot);
/// Into a slot that has just been claimed. The pairing comes back unless the peer has dropped it
/// since; a peer that is not there, as it has still to claim a slot itself, is waited for.
void RestoreSlot(RegistrySegment& segment, RegistrySlot& slot, const SlotMemory& memory);

/// Nothing to hear: spectrum, meters and gain reduction become zero.
void Silence(RegistrySlot& slot);

/// Copies min(n, 1024) magnitudes of the published spectrum.
void LoadAudioBins(const RegistrySlot& slot, float* out, int n);

/// Sets bypass or duckSelf.
inline void StoreFlag(std::atomic<std::uint8_t>& flag, bool on) {
    flag.exchange(on ? 1 : 0, std::memory_order_relaxed); // read alone, it publishes nothing
}

/// Reads bypass or duckSelf: any non-zero value is on. Needs no lock.
inline bool LoadFlag(const std::atomic<std::uint8_t>& flag) {
    return flag.load(std::memory_order_relaxed) != 0;
}

/// Reads a counter. Needs no lock: a changed one sends the reader to the lock for the values.
inline std::uint64_t LoadSeq(const std::atomic<std::uint64_t>& seq) {
    return seq.load(std::memory_order_relaxed);
}

/// Steps a counter by one and returns its new value.
inline std::uint64_t Step(std::atomic<std::uint64_t>& seq) {
    return seq.fetch_add(1, std::memory_order_relaxed) + 1; // the lock publishes the values
}

} // namespace shm
