/// The records by which the registry and the rest of the program exchange settings: what a track
/// can be set to, and the one rule of what of it is valid.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace shm {

inline constexpr int kBandCount = 3;          ///< Bands an instance has at most.
inline constexpr std::size_t kNameBytes = 64; ///< Size of a name field: 63 bytes and a NUL.
inline constexpr int kDisplayBinCount = 256;  ///< Display spectrum, dB values.
inline constexpr int kAudioBinCount = 1024;   ///< Published spectrum, magnitudes.

using Name = std::array<char, kNameBytes>; ///< NUL-terminated

/// What a number may be, and what it is until somebody sets it.
struct Range {
    double min, max, initial;

    [[nodiscard]] constexpr float Initial() const { return static_cast<float>(initial); }
    /// The value inside the range. What is no number becomes the fallback.
    [[nodiscard]] constexpr float Usable(float value, float fallback) const {
        return value != value ? fallback // NOLINT(misc-redundant-expression): NaN
                              : std::clamp(value, static_cast<float>(min), static_cast<float>(max));
    }
};

inline constexpr Range kEdgeHz{20.0, 20000.0, 20.0};         ///< band edges
inline constexpr Range kLowSplitHz{20.0, 2000.0, 200.0};     ///< between low and mid band
inline constexpr Range kHighSplitHz{500.0, 20000.0, 5000.0}; ///< between mid and high band
inline constexpr Range kThresholdDb{-60.0, 0.0, -20.0};
inline constexpr Range kRatio{1.0, 20.0, 4.0}; ///< n:1
inline constexpr Range kHpHz{20.0, 1000.0, 20.0};
inline constexpr Range kLpHz{1000.0, 20000.0, 20000.0};
inline constexpr Range kAttackMs{0.1, 300.0, 10.0};
inline constexpr Range kReleaseMs{5.0, 2000.0, 100.0};
inline constexpr Range kMakeupDb{-12.0, 24.0, 0.0};

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

    bool operator==(const TDBand&) const = default;
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

namespace shm {

/// The bands of a track, from low to high. As another process or a saved state has left them they
/// may be anything; Usable puts them right.
struct BandSet {
    std::array<TDBand, kBandCount> bands{};
    std::int32_t count = 0; ///< 0 to 3 where it is valid; 0: there are none

    /// What lies beyond the count makes no difference.
    bool operator==(const BandSet& other) const {
        return count == other.count &&
               std::equal(bands.begin(), bands.begin() + std::clamp(count, 0, kBandCount),
                          other.bands.begin());
    }
    [[nodiscard]] TDBand& operator[](int index) { return bands[std::size_t(index)]; }
    [[nodiscard]] const TDBand& operator[](int index) const { return bands[std::size_t(index)]; }
    [[nodiscard]] bool Has(int index) const { return index >= 0 && index < count; }
    [[nodiscard]] TDBand& Last() { return (*this)[count - 1]; }
    /// Band `index` of three as engine and parameters have them: beyond the count the last one.
    [[nodiscard]] const TDBand& OrLast(int index) const {
        return (*this)[std::max(0, std::min(index, count - 1))];
    }

    /// Whether the edges make bands: each of the first `count` is finite and has a width.
    [[nodiscard]] bool EdgesUsable() const {
        return std::all_of(bands.begin(), bands.begin() + std::clamp(count, 0, kBandCount),
                           [](const TDBand& band) {
                               return band.loHz < band.hiHz && std::isfinite(band.loHz) &&
                                      std::isfinite(band.hiHz); // false for NaN too
                           });
    }

    /// The set with every value in its range; what is no number is as in a new band, or as in
    /// `fallback`.
    [[nodiscard]] BandSet Usable() const { return Usable(BandSet{}); }
    [[nodiscard]] BandSet Usable(const BandSet& fallback) const {
        BandSet usable;
        usable.count = std::clamp(count, 0, kBandCount);
        for (int i = 0; i < usable.count; ++i) {
            const TDBand& band = (*this)[i];
            const TDBand& other = fallback[i];
            usable[i] = {.loHz = kEdgeHz.Usable(band.loHz, other.loHz),
                         .hiHz = kEdgeHz.Usable(band.hiHz, other.hiHz),
                         .threshDb = kThresholdDb.Usable(band.threshDb, other.threshDb),
                         .ratio = kRatio.Usable(band.ratio, other.ratio),
                         .enabled = band.enabled};
        }
        return usable;
    }
};

/// The outer limits of a track's analysis, Hz; they are the outer edges of its bands.
struct Filters {
    static constexpr int kCount = 2;
    static constexpr std::array<Range, kCount> kRanges = {kHpHz, kLpHz};
    float hpHz = kHpHz.Initial();
    float lpHz = kLpHz.Initial();

    bool operator==(const Filters&) const = default;
    [[nodiscard]] float& operator[](int index) { return index == 0 ? hpHz : lpHz; }
    [[nodiscard]] float operator[](int index) const { return index == 0 ? hpHz : lpHz; }
};

/// The knobs of a track.
struct Controls {
    static constexpr int kCount = 3;
    static constexpr std::array<Range, kCount> kRanges = {kAttackMs, kReleaseMs, kMakeupDb};
    float attackMs = kAttackMs.Initial();
    float releaseMs = kReleaseMs.Initial();
    float makeupDb = kMakeupDb.Initial();

    bool operator==(const Controls&) const = default;
    [[nodiscard]] float& operator[](int index) {
        return index == 0 ? attackMs : index == 1 ? releaseMs : makeupDb;
    }
    [[nodiscard]] float operator[](int index) const {
        return index == 0 ? attackMs : index == 1 ? releaseMs : makeupDb;
    }
};

/// Filters or controls with every value in its range; what is no number is as in a new track, or
/// as in `fallback`.
template <class Group>
[[nodiscard]] Group Usable(const Group& group, const Group& fallback = {}) {
    Group result;
    for (int i = 0; i < Group::kCount; ++i)
        result[i] = Group::kRanges[std::size_t(i)].Usable(group[i], fallback[i]);
    return result;
}

/// All that a track can be set to by its own side and by its peer's. Without bands (count 0) in
/// most places: not there, or could not be read.
struct Settings {
    BandSet bands;
    Filters filters;
    Controls controls;
    bool operator==(const Settings&) const = default;
};

/// What one gesture changes of a track. What has no value stays as others have set it meanwhile.
struct SettingsEdit {
    std::optional<BandSet> bands{};
    std::array<std::optional<float>, Filters::kCount> filters{};
    std::array<std::optional<float>, Controls::kCount> controls{};

    [[nodiscard]] bool HasFilters() const { return filters[0] || filters[1]; }
    [[nodiscard]] bool HasControls() const { return controls[0] || controls[1] || controls[2]; }
    void ApplyTo(Filters& group) const {
        for (int i = 0; i < Filters::kCount; ++i)
            group[i] = filters[std::size_t(i)].value_or(group[i]);
    }
    void ApplyTo(Controls& group) const {
        for (int i = 0; i < Controls::kCount; ++i)
            group[i] = controls[std::size_t(i)].value_or(group[i]);
    }
};

} // namespace shm
