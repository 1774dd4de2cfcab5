/// The spectrum of a track before and after.
#pragma once

#include "tools/render/Painter.h"
#include "tools/render/Trace.h"

namespace render {

/// Reads both files of the track; throws Failure when that fails.
void drawSpectrumPlot(Painter& painter, const Rect& panel, const RenderResult& result,
                      const TrackTrace& track);

} // namespace render
