/// What the instance would have shown in its window.
#pragma once

#include "dsp/Bands.h"

namespace support {

/// The peer's levels as the thread's last block handed them over.
dsp::BandLevels handedPeerLevel();

} // namespace support
