/// An editor without a window: hears what the instance would show in it.
#pragma once

#include "dsp/Bands.h"
#include "plugin/EditorAccess.h"

#include <functional>

namespace support {

/// A MakeEditor.
std::unique_ptr<Editor> openNoEditor(EditorAccess& instance, std::uintptr_t parentWindow,
                                     int widthPx, int heightPx);

/// The peer's levels as the thread's last block handed them over.
dsp::BandLevels handedPeerLevel();

/// Done once, in the midst of the thread's next block.
extern thread_local std::function<void()> tAtNextMeters;

} // namespace support
