/// Made-up spectra that look like music's.
#pragma once

#include "dsp/Display.h"

namespace shots {

[[nodiscard]] dsp::DisplayLevels voiceLevels();
[[nodiscard]] dsp::DisplayLevels padLevels();
/// All at one level, dB.
[[nodiscard]] dsp::DisplayLevels flatLevels(float levelDb);

} // namespace shots
