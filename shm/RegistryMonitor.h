/// A look at the live registry from outside, for tools and tests: it never claims a slot.
#pragma once

#include "shm/GuardedMapping.h"
#include "shm/SegmentLayout.h"
#include "shm/TDRecords.h"

#include <cstdint>
#include <type_traits>
#include <vector>

namespace shm {

/// Copy of one slot. Numbers are as the owner left them; count, flags and name are made safe.
struct SlotSnapshot {
    int index = 0;
    std::uint64_t id = 0;
    std::uint64_t remoteId = 0; ///< 0: unpaired.
    char name[kNameBytes] = {}; ///< Always NUL-terminated; any bytes.
    bool active = false;
    int latencySamples = 0;
    std::int64_t heartbeat = 0; ///< Seconds since the Unix epoch.
    float state[3] = {};
    float gainReduction[3] = {}; ///< dB, bands 1 to 3.
    int bandCount = 0;           ///< 0 to 3.
    TDBand bands[kBandCount] = {};
    float hpHz = 0.0F;
    float lpHz = 0.0F;
    float attackMs = 0.0F;
    float releaseMs = 0.0F;
    float makeupDb = 0.0F;
    std::uint64_t bandsSeq = 0;
    std::uint64_t hpLpSeq = 0;
    std::uint64_t controlsSeq = 0;
    std::uint64_t audioBinsSeq = 0;
    bool bypass = false;
    bool duckSelf = false;
};

/// Attached to the registry as it was at Attach: a registry that is removed and created anew
/// needs another Attach. One thread at a time. The writers wait for the lock up to 0.5 s, want
/// write permission, and return false (counters: 0) when any of it, or the instance, is missing.
/// [any but audio]
class RegistryMonitor {
public:
    /// Maps the existing registry, read-only if more is not permitted. False, and detached, when
    /// there is none or it is not (yet) one of this layout. Does not wait. No exception.
    [[nodiscard]] bool Attach() noexcept;

    /// Copies all sixteen slots in slot order, also the free ones. False when the lock was busy in
    /// a few short tries: the copy is then made all the same and may be half-changed. Detached:
    /// false and an empty list.
    bool ReadSlots(std::vector<SlotSnapshot>& out) const;

    bool Pair(std::uint64_t idA, std::uint64_t idB); ///< Both must be active, and differ.
    bool Unpair(std::uint64_t id);
    bool Rename(std::uint64_t id, const char* name);
    bool SetBypassOf(std::uint64_t id, bool on);
    bool SetDuckSelfOf(std::uint64_t id, bool on);

    /// Each writes a whole settings group, as a peer's editor does, and returns its new counter.
    std::uint64_t WriteBandsOf(std::uint64_t id, const TDBand* bands, int n);
    std::uint64_t WriteHpLpOf(std::uint64_t id, float hpHz, float lpHz);
    std::uint64_t WriteControlsOf(std::uint64_t id, float attackMs, float releaseMs,
                                  float makeupDb);

private:
    template <class Change>
    std::invoke_result_t<Change, RegistrySlot&> ChangeSlotOf(std::uint64_t id, Change&& change);

    GuardedMapping mapping;
    RegistrySegment* segment = nullptr;
    bool writable = false;
};

} // namespace shm
