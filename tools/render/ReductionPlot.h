/// The gain reduction of a track over time.
#pragma once

#include "tools/render/Painter.h"
#include "tools/render/Trace.h"

namespace render {

/// One curve a band; behind them, when `partner` is not null, its level.
void drawReductionPlot(Painter& painter, const Rect& panel, const RenderResult& result,
                       const TrackTrace& track, const TrackTrace* partner);

} // namespace render
