/// The bytes of the shared registry segment: a header, sixteen slots, a trailing magic word.
///
/// Separately built plug-ins meet in it, so every offset is a contract. Native byte order. Nothing
/// here behaves; what is not atomic is read and written under `mutex` only.
#pragma once

#include "shm/TDRecords.h"

#include <array>
#include <atomic>
#include <boost/interprocess/sync/interprocess_mutex.hpp>
#include <cstddef>
#include <cstdint>

#if !defined(BOOST_INTERPROCESS_POSIX_PROCESS_SHARED)
#error "the registry lock must be a process-shared POSIX mutex: other builds lock the same bytes"
#endif

namespace shm {

inline constexpr const char* kSegmentName = "td_spectral_registry";
inline constexpr std::size_t kSegmentBytes = 86080;
inline constexpr std::uint32_t kLayoutVersion = 10;
inline constexpr std::uint32_t kMagic = 0x54445247; ///< The bytes "GRDT".
inline constexpr int kSlotCount = 16;

template <std::size_t n>
using Padding = std::array<std::byte, n>;

/// What one instance publishes. The owner and its peer both write the settings groups; each group
/// has a counter that every write steps, so that either sees the other's edits.
struct RegistrySlot {
    std::atomic<std::uint64_t> instanceId; ///< Owner: (pid << 32) XOR address of its handle.
    std::atomic<std::uint64_t> remoteId;   ///< The peer's instanceId; 0 = unpaired.
    std::array<char, kNameBytes> displayName;
    std::atomic<std::uint8_t> active; ///< Bit 0: slot in use.
    Padding<3> afterActive;
    std::int32_t latencySamples;
    std::atomic<std::int64_t> heartbeat; ///< Last sign of life, seconds since the Unix epoch.
    std::array<float, 3> state;          ///< Written for future readers, never read back.
    std::array<float, 3> gainReduction;  ///< Of bands 1 to 3.
    std::int32_t bandCount;              ///< Foreign writers may leave any value here.
    Padding<4> afterBandCount;
    std::atomic<std::uint64_t> bandsSeq;
    std::array<TDBand, kBandCount> bands;
    float hpHz;
    float lpHz;
    Padding<4> afterLpHz;
    std::atomic<std::uint64_t> hpLpSeq;
    std::array<float, 3> controls; ///< Attack ms, release ms, makeup dB.
    Padding<4> afterControls;
    std::atomic<std::uint64_t> controlsSeq;
    std::atomic<std::uint8_t> bypass;
    std::atomic<std::uint8_t> duckSelf;
    Padding<6> afterFlags;
    std::atomic<std::uint64_t> audioBinsSeq;
    std::array<float, kDisplayBinCount> displayBins; ///< Written by the editor, never read back.
    std::array<float, kAudioBinCount> audioBins;
};

/// The whole mapped object. It is never constructed as such: it lies over mapped bytes.
struct RegistrySegment {
    RegistrySegment() = delete;

    std::uint32_t version;
    Padding<4> afterVersion;
    boost::interprocess::interprocess_mutex mutex; ///< Guards all slots. Not recursive, not robust.
    std::int32_t slotHighWater; ///< Highest used index + 1. Advisory: every scan covers all slots.
    Padding<4> afterHighWater;
    std::array<RegistrySlot, kSlotCount> slots;
    std::atomic<std::uint32_t> magic; ///< Stored last: kMagic publishes a ready segment.
    Padding<4> afterMagic;
};

static_assert(std::atomic<std::uint8_t>::is_always_lock_free &&
                  std::atomic<std::uint32_t>::is_always_lock_free &&
                  std::atomic<std::uint64_t>::is_always_lock_free &&
                  std::atomic<std::int64_t>::is_always_lock_free,
              "a lock beside the value would not be shared");
static_assert(sizeof(std::atomic<std::uint8_t>) == 1 && sizeof(std::atomic<std::uint32_t>) == 4 &&
              sizeof(std::atomic<std::uint64_t>) == 8 && sizeof(std::atomic<std::int64_t>) == 8);
static_assert(sizeof(boost::interprocess::interprocess_mutex) == 40,
              "the segment has 40 bytes for the lock: this platform cannot join the registry");

// clang-format off
static_assert(offsetof(RegistrySlot, instanceId)     == 0);
static_assert(offsetof(RegistrySlot, remoteId)       == 8);
static_assert(offsetof(RegistrySlot, displayName)    == 16);
static_assert(offsetof(RegistrySlot, active)         == 80);
static_assert(offsetof(RegistrySlot, latencySamples) == 84);
static_assert(offsetof(RegistrySlot, heartbeat)      == 88);
static_assert(offsetof(RegistrySlot, state)          == 96);
static_assert(offsetof(RegistrySlot, gainReduction)  == 108);
static_assert(offsetof(RegistrySlot, bandCount)      == 120);
static_assert(offsetof(RegistrySlot, bandsSeq)       == 128);
static_assert(offsetof(RegistrySlot, bands)          == 136);
static_assert(offsetof(RegistrySlot, hpHz)           == 196);
static_assert(offsetof(RegistrySlot, lpHz)           == 200);
static_assert(offsetof(RegistrySlot, hpLpSeq)        == 208);
static_assert(offsetof(RegistrySlot, controls)       == 216);
static_assert(offsetof(RegistrySlot, controlsSeq)    == 232);
static_assert(offsetof(RegistrySlot, bypass)         == 240);
static_assert(offsetof(RegistrySlot, duckSelf)       == 241);
static_assert(offsetof(RegistrySlot, audioBinsSeq)   == 248);
static_assert(offsetof(RegistrySlot, displayBins)    == 256);
static_assert(offsetof(RegistrySlot, audioBins)      == 1280);
static_assert(sizeof(RegistrySlot)                   == 5376);

static_assert(offsetof(RegistrySegment, version)       == 0);
static_assert(offsetof(RegistrySegment, mutex)         == 8);
static_assert(offsetof(RegistrySegment, slotHighWater) == 48);
static_assert(offsetof(RegistrySegment, slots)         == 56);
static_assert(offsetof(RegistrySegment, magic)         == 86072);
static_assert(sizeof(RegistrySegment)                  == kSegmentBytes);
// clang-format on

} // namespace shm
