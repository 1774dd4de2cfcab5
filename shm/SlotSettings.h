/// What an instance takes with it when it has to claim another slot.
#pragma once

#include "shm/SegmentLayout.h"

namespace shm {

/// The lasting part of a slot, with its counters: whoever has recorded those sees no change in a
/// slot that has been restored. The defaults are those of a slot just claimed.
struct SlotSettings {
    static constexpr TDBand kNoBand{
        .loHz = 0, .hiHz = 0, .threshDb = 0, .ratio = 0, .enabled = false};

    std::uint64_t remoteId = 0;
    std::array<char, kNameBytes> displayName{};
    std::int32_t latencySamples = 0;
    std::int32_t bandCount = 0;
    std::uint64_t bandsSeq = 0, hpLpSeq = 0, controlsSeq = 0;
    std::array<TDBand, kBandCount> bands{kNoBand, kNoBand, kNoBand};
    float hpHz = 0.0F, lpHz = 0.0F;
    std::array<float, 3> controls{};
    std::uint8_t bypass = 0, duckSelf = 0;
};

/// Copies the settings of a slot. The registry lock is held. [any]
SlotSettings SaveSettings(const RegistrySlot& slot);

/// Puts settings into a slot that has just been claimed. The pairing comes back unless the peer has
/// dropped it since; a peer that is not there, as it has still to claim a slot itself, is waited
/// for. The registry lock is held. [any]
void RestoreSettings(RegistrySegment& segment, RegistrySlot& slot, const SlotSettings& settings);

} // namespace shm
