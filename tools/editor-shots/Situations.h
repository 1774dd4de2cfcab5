/// What the editor can look like: a row per picture.
#pragma once

#include "tools/demo/Signals.h"
#include "ui/DrawState.h"

#include <span>

namespace shots {

/// What two tracks play.
struct Sounds {
    demo::Sound own, peer;
};

/// All that a frame is drawn from, and what is to be heard in it.
struct Scene {
    ui::Panel panel;
    ui::Meters meters;
    const Sounds* sounds = nullptr; ///< null: spectra and meters are given
    double seconds = 0.0;           ///< of sound before the picture is taken
};

struct Situation {
    const char* name; ///< of the picture's file
    void (*arrange)(Scene& scene);
};

[[nodiscard]] std::span<const Situation> allSituations();
[[nodiscard]] Scene sceneOf(const Situation& situation);

} // namespace shots
