/// From a point on the canvas to the thing under it; pure.
#pragma once

#include "shm/TDRecords.h"
#include "ui/Canvas.h"

namespace ui {

/// Everything that can be pointed at. Those with several of a kind are the first of a row:
/// `Target::LocalEdge + 1` is the second edge.
enum class Target : int {
    None = -1,
    LocalAttack = 30,
    LocalRelease = 31,
    LocalMakeup = 32,
    PeerAttack = 35,
    PeerRelease = 36,
    PeerMakeup = 37,
    Name = 40,
    Dropdown = 50,
    Entry = 60, ///< row: entries of the open dropdown
    LocalHighPass = 120,
    LocalLowPass = 121,
    RemoteHighPass = 122,
    RemoteLowPass = 123,
    LocalBand = 200, ///< row, as the next ones: one per band
    LocalEdge = 210, ///< edge j lies between band j and band j + 1
    LocalThreshold = 220,
    LocalRatio = 230,
    RemoteBand = 300,
    RemoteEdge = 310,
    RemoteThreshold = 320,
    RemoteRatio = 330,
    OwnBypass = 800,
    PeerBypass = 801,
    OwnDuck = 802,
    PeerDuck = 803,
    ResizeCorner = 999
};

[[nodiscard]] constexpr Target operator+(Target row, int index) {
    return static_cast<Target>(static_cast<int>(row) + index);
}

/// What kind of thing a target is, on either side.
enum class Part {
    None,
    Knob, ///< attack, release, makeup
    Name,
    Dropdown,
    Entry,
    Filter, ///< high-pass, low-pass
    Body,   ///< of a band
    Edge,
    Threshold,
    Ratio,
    Bypass,
    Duck,
    ResizeCorner
};

/// A target taken apart.
struct Hit {
    Part part = Part::None;
    Side side = Side::Local; ///< Local also for what belongs to neither
    int index = 0;           ///< among the side's parts of its kind
    bool operator==(const Hit&) const = default;
};

/// Targets in a row: parts of one kind and side.
struct TargetRow {
    Target first;
    int count;
    Part part;
    Side side;

    /// Position of a target in it, -1 when it is not in it.
    [[nodiscard]] constexpr int indexOf(Target target) const {
        const int index = static_cast<int>(target) - static_cast<int>(first);
        return index >= 0 && index < count ? index : -1;
    }
};
// clang-format off
inline constexpr TargetRow kTargetRows[] = {
    {Target::LocalAttack,     3,  Part::Knob,         Side::Local},
    {Target::PeerAttack,      3,  Part::Knob,         Side::Remote},
    {Target::Name,            1,  Part::Name,         Side::Local},
    {Target::Dropdown,        1,  Part::Dropdown,     Side::Local},
    {Target::Entry,           60, Part::Entry,        Side::Local}, // up to the next number taken
    {Target::LocalHighPass,   2,  Part::Filter,       Side::Local},
    {Target::RemoteHighPass,  2,  Part::Filter,       Side::Remote},
    {Target::LocalBand,       3,  Part::Body,         Side::Local},
    {Target::LocalEdge,       3,  Part::Edge,         Side::Local},
    {Target::LocalThreshold,  3,  Part::Threshold,    Side::Local},
    {Target::LocalRatio,      3,  Part::Ratio,        Side::Local},
    {Target::RemoteBand,      3,  Part::Body,         Side::Remote},
    {Target::RemoteEdge,      3,  Part::Edge,         Side::Remote},
    {Target::RemoteThreshold, 3,  Part::Threshold,    Side::Remote},
    {Target::RemoteRatio,     3,  Part::Ratio,        Side::Remote},
    {Target::OwnBypass,       1,  Part::Bypass,       Side::Local},
    {Target::PeerBypass,      1,  Part::Bypass,       Side::Remote},
    {Target::OwnDuck,         1,  Part::Duck,         Side::Local},
    {Target::PeerDuck,        1,  Part::Duck,         Side::Remote},
    {Target::ResizeCorner,    1,  Part::ResizeCorner, Side::Local},
};
// clang-format on

[[nodiscard]] constexpr Hit hitOf(Target target) {
    for (const TargetRow& row : kTargetRows)
        if (const int index = row.indexOf(target); index >= 0)
            return {row.part, row.side, index};
    return {};
}
[[nodiscard]] constexpr Target targetOf(const Hit& hit) {
    for (const TargetRow& row : kTargetRows)
        if (row.part == hit.part && row.side == hit.side)
            return row.first + hit.index;
    return Target::None;
}

/// What is on the canvas and can move or come and go.
struct HitScene {
    struct Track {
        shm::Filters filters;
        const shm::BandSet& bands;
    };
    Track local, remote;
    bool peerLinked = false; ///< else nothing of the remote analyzer is offered
    bool dropdownOpen = false;
    int entries = 0;
};

/// Whether the open list covers a point: nothing below it can be reached there.
[[nodiscard]] bool isOnList(Point p, const HitScene& scene);

/// The target at a point; the first of a fixed order where several overlap.
[[nodiscard]] Target hitTest(Point p, const HitScene& scene);

/// The part of a band at a point: edges first, then the ratio handle, the threshold line, the
/// body. Bands 30 units wide or less are body only.
[[nodiscard]] Target hitTestBandArea(Point p, Side side, const shm::BandSet& bands);

} // namespace ui
