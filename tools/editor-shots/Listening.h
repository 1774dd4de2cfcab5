/// What an editor shows of two tracks that play: the demo's sounds, through the engine.
#pragma once

#include "tools/editor-shots/Situations.h"

namespace shots {

/// Plays both tracks of a scene with its settings up to its moment, and puts what is then heard
/// into its spectra and meters.
void listen(Scene& scene);

} // namespace shots
