/// What one frame is drawn from.
#pragma once

#include "dsp/Display.h"
#include "ui/HitTest.h"
#include "ui/PanelTexts.h"
#include "ui/SpectralBands.h"

#include <algorithm>
#include <array>
#include <vector>

class TessellaDuckwork;

namespace ui {

using ThreeFloats = std::array<float, 3>; ///< of the low, mid and high band

/// Attack and release in ms, makeup in dB.
struct ControlValues {
    float attackMs = 10.0F;
    float releaseMs = 100.0F;
    float makeupDb = 0.0F;
    bool operator==(const ControlValues&) const = default;
};

/// The settings and meters of both sides, read once a frame. The defaults are what is shown
/// without an instance.
struct DrawState {
    float lowSplitHz = 200.0F;
    float highSplitHz = 5000.0F;
    ThreeFloats thresholdDb = {-20.0F, -20.0F, -20.0F};
    ThreeFloats ratio = {4.0F, 4.0F, 4.0F};
    ControlValues controls;
    ControlValues peerControls;
    FilterPair filters;
    ThreeFloats ownLevelDb{}, peerLevelDb{}, reductionDb{}; ///< the meters as SetMeters got them
    bool registryOpen = false;
    bool ownBypass = false;
    bool peerBypass = false;
    bool ownDuck = true;
    bool peerDuck = true;
    bool paired = false;
    bool operator==(const DrawState&) const = default;
};

/// A parameter's value, plain, in its unit. [any]
float paramValue(const TessellaDuckwork& plugin, int param);

/// Reads the instance and the registry; null leaves the defaults but the meters. [ui]
void fillDrawState(DrawState& state, TessellaDuckwork* plugin, const ThreeFloats& ownLevelDb,
                   const ThreeFloats& peerLevelDb, const ThreeFloats& reductionDb);

/// What the user is doing and what the registry poll has found: the editor's own state, as far as
/// a frame shows it. Owned by the UI thread; drawing only reads it.
struct Panel {
    BandList localBands;
    BandList remoteBands; ///< count 0: none could be read
    FilterPair remoteFilters;
    ThreeFloats remoteReductionDb{};
    dsp::DisplayLevels localLevels = dsp::silentLevels();
    dsp::DisplayLevels remoteLevels = dsp::silentLevels();
    std::vector<RemoteInstanceInfo> instances; ///< that can be paired with, in slot order
    std::uint64_t selectedPeer = 0;
    bool dropdownOpen = false;
    std::array<char, shm::kNameBytes> instanceName{};
    NameEdit nameEdit;
    Target hover = Target::None;
    Target dragging = Target::None;
    Point pointer; ///< where the pointer last was, canvas units
    bool operator==(const Panel&) const = default;

    /// Whether there is a peer whose side is shown and can be edited. A link to an instance that is
    /// gone is none.
    [[nodiscard]] bool peerLinked(const DrawState& state) const {
        return state.registryOpen && state.paired && hasListed(selectedPeer);
    }
    [[nodiscard]] bool hasListed(std::uint64_t id) const {
        return id != 0 && std::any_of(instances.begin(), instances.end(),
                                      [id](const auto& entry) { return entry.id == id; });
    }
};

} // namespace ui
