/// What the editor can look like: a row per picture.
#pragma once

#include "ui/DrawState.h"

#include <span>

namespace shots {

/// All that a frame is drawn from.
struct Scene {
    ui::Panel panel;
    ui::Meters meters;
};

struct Situation {
    const char* name; ///< of the picture's file
    void (*arrange)(Scene& scene);
};

[[nodiscard]] std::span<const Situation> allSituations();
[[nodiscard]] Scene sceneOf(const Situation& situation);

} // namespace shots
