/// From a point on the canvas to the thing under it; pure.
#pragma once

#include "ui/Canvas.h"
#include "ui/SpectralBands.h"

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
/// Position of a target in a row of `count`, -1 when it is not in it.
[[nodiscard]] constexpr int indexIn(Target row, Target target, int count = shm::kBandCount) {
    const int index = static_cast<int>(target) - static_cast<int>(row);
    return index >= 0 && index < count ? index : -1;
}

/// The four rows of a side's bands.
struct BandTargets {
    Target body, edge, threshold, ratio;
};
[[nodiscard]] constexpr BandTargets bandTargetsOf(Side side) {
    return side == Side::Local ? BandTargets{Target::LocalBand, Target::LocalEdge,
                                             Target::LocalThreshold, Target::LocalRatio}
                               : BandTargets{Target::RemoteBand, Target::RemoteEdge,
                                             Target::RemoteThreshold, Target::RemoteRatio};
}

/// What is on the canvas and can move or come and go.
struct HitScene {
    FilterPair localFilters;
    const BandList& localBands;
    FilterPair remoteFilters;
    const BandList& remoteBands;
    bool peerLinked = false; ///< else nothing of the remote analyzer is offered
    bool dropdownOpen = false;
    int entries = 0;
};

/// The target at a point; the first of a fixed order where several overlap.
[[nodiscard]] Target hitTest(Point p, const HitScene& scene);

/// The part of a band at a point: edges first, then the ratio handle, the threshold line, the
/// body. Bands 30 units wide or less are body only.
[[nodiscard]] Target hitTestBandArea(Point p, Side side, const BandList& list);

} // namespace ui
