/// What is done to the segment and its slots, whoever they belong to. Every function wants the
/// registry lock held, unless it says otherwise. None waits, allocates or throws. [any]
#pragma once

#include "shm/SegmentLayout.h"

#include <ctime>

namespace shm {

/// Seconds without a sign of life that an instance survives; one more and it counts as dead.
inline constexpr int kAliveSeconds = 10;

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

/// The first active slot of an instance; null for id 0 and for an unknown id.
RegistrySlot* FindSlot(RegistrySegment& segment, std::uint64_t id);

/// Zeroes the slot, padding included.
void ClearSlot(RegistrySlot& slot);

/// Marks the slot in use and alive now.
void Revive(RegistrySlot& slot);

/// Copies up to 63 bytes of a NUL-terminated name, zero-filled.
void StoreName(RegistrySlot& slot, const char* name);

/// Copies the name and terminates the copy, even if the slot's name is not.
void LoadName(const RegistrySlot& slot, char (&name)[kNameBytes]);

/// Each store writes a whole settings group, steps its counter and returns the new value; each
/// load copies a group and returns the counter; without a slot (null), as when its lock was not to
/// be had, it gives no bands, the defaults, and 0. Band counts: stored min(n, 3), also when
/// negative; loaded at most max and 3, at least 0.
std::uint64_t StoreBands(RegistrySlot& slot, const TDBand* bands, int n);
std::uint64_t StoreHpLp(RegistrySlot& slot, float hpHz, float lpHz);
std::uint64_t StoreControls(RegistrySlot& slot, float attackMs, float releaseMs, float makeupDb);
std::uint64_t LoadBands(const RegistrySlot* slot, TDBand* out, int& count, int max);
std::uint64_t LoadHpLp(const RegistrySlot* slot, float& hpHz, float& lpHz);
std::uint64_t LoadControls(const RegistrySlot* slot, float& attackMs, float& releaseMs,
                           float& makeupDb);

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
