/// The records and sizes by which the registry and the rest of the program exchange settings.
#pragma once

#include <cstddef>
#include <cstdint>

namespace shm {

inline constexpr int kBandCount = 3;            ///< Bands an instance has at most.
inline constexpr std::size_t kNameBytes = 64;   ///< Size of a name field: 63 bytes and a NUL.
inline constexpr int kDisplayBinCount = 256;    ///< Display spectrum, dB values.
inline constexpr int kAudioBinCount = 1024;     ///< Published spectrum, magnitudes.
inline constexpr float kDefaultHpHz = 20.0F;    ///< What a failed read of the filters answers.
inline constexpr float kDefaultLpHz = 20000.0F; ///< What a failed read of the filters answers.
inline constexpr float kDefaultAttackMs = 10.0F;
inline constexpr float kDefaultReleaseMs = 100.0F;
inline constexpr float kDefaultMakeupDb = 0.0F;

} // namespace shm

/// One ducking band, byte for byte the same in shared and in process memory. The defaults are the
/// one band that a new instance publishes.
struct TDBand {
    float loHz = 20.0F;      ///< Lower edge, Hz.
    float hiHz = 20000.0F;   ///< Upper edge, Hz.
    float threshDb = -20.0F; ///< Ducking threshold, dB.
    float ratio = 4.0F;      ///< n:1.
    bool enabled = true;
    std::uint8_t padding[3] = {}; ///< Always zero: no stack contents leak into the segment.
};
static_assert(sizeof(TDBand) == 20 && offsetof(TDBand, hiHz) == 4 &&
                  offsetof(TDBand, threshDb) == 8 && offsetof(TDBand, ratio) == 12 &&
                  offsetof(TDBand, enabled) == 16,
              "a contract between builds: changing it means a new layout version");

/// Another instance as listed for pairing.
struct TDInstanceInfo {
    std::uint64_t id = 0;            ///< Its instance id; 0 means no instance.
    char name[shm::kNameBytes] = {}; ///< Its display name, always NUL-terminated.
    bool operator==(const TDInstanceInfo&) const = default;
};
