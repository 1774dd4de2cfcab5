/// What one frame is drawn from.
#pragma once

#include "dsp/Display.h"
#include "plugin/EditorAccess.h"
#include "ui/HitTest.h"
#include "ui/PanelTexts.h"

#include <algorithm>
#include <array>

namespace ui {

using ThreeFloats = std::array<float, 3>; ///< of the low, mid and high band

/// The meters as SetMeters has got them. The levels are linear, and nothing shows them.
struct Meters {
    ThreeFloats ownLevel{}, peerLevel{};
    ThreeFloats reductionDb{}; ///< 0 or negative
    bool operator==(const Meters&) const = default;
};

/// The settings and meters of both sides, taken once a frame. The defaults are what is shown
/// without an instance.
struct DrawState {
    float lowSplitHz = 200.0F;
    float highSplitHz = 5000.0F;
    ThreeFloats thresholdDb = {-20.0F, -20.0F, -20.0F};
    ThreeFloats ratio = {4.0F, 4.0F, 4.0F};
    shm::Controls controls;
    shm::Controls peerControls;
    shm::Filters filters;
    Meters meters;
    bool registryOpen = false;
    bool ownBypass = false;
    bool peerBypass = false;
    bool ownDuck = true;
    bool peerDuck = true;
    bool paired = false;
    bool operator==(const DrawState&) const = default;
};

/// Takes the parameters from the instance as they are now, all else from what the frame has found;
/// null leaves the parameters as the view has them or at their defaults. [ui]
void fillDrawState(DrawState& state, const EditorAccess* instance, const EditorView& view,
                   const Meters& meters);

/// What the user is doing, and both sides as the registry and the user's edits have left them: the
/// editor's own state, as far as a frame shows it. Owned by the UI thread; drawing only reads it.
struct Panel {
    EditorView view;
    dsp::DisplayLevels localLevels = dsp::silentLevels();
    dsp::DisplayLevels remoteLevels = dsp::silentLevels();
    bool dropdownOpen = false;
    NameEdit nameEdit;
    bool nameRefuses = false; ///< the character that has just been typed
    Target hover = Target::None;
    Target dragging = Target::None;
    bool tooltip = false; ///< the pointer has rested for long enough
    Point pointer;        ///< where the pointer last was, canvas units
    bool operator==(const Panel&) const = default;

    /// Whether there is a peer whose side is shown and can be edited. A link to an instance that is
    /// gone is none.
    [[nodiscard]] bool peerLinked() const {
        return view.registryOpen && view.peerId != 0 &&
               std::any_of(view.instances.begin(), view.instances.end(),
                           [this](const auto& entry) { return entry.id == view.peerId; });
    }
};

} // namespace ui
