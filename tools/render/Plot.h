/// The two plots of a track, and what they share: panel, grid, numbers, caption and legend.
#pragma once

#include "tools/render/Axis.h"
#include "tools/render/Painter.h"
#include "tools/render/Trace.h"

#include <string>
#include <vector>

namespace render {

/// The spectrum of a track before and after. Reads both its files; throws tools::Failure when that
/// fails.
void drawSpectrumPlot(Painter& painter, const Rect& panel, const RenderResult& result,
                      const TrackTrace& track);

/// The gain reduction of a track over time, one curve a band; behind them, when `partner` is not
/// null, its level.
void drawReductionPlot(Painter& painter, const Rect& panel, const RenderResult& result,
                       const TrackTrace& track, const TrackTrace* partner);

void drawPanel(Painter& painter, const Rect& panel);
/// Vertical lines with numbers below; `unit` stands at the right end of the row.
void drawGridX(Painter& painter, const Rect& panel, const Axis& axis,
               const std::vector<Tick>& ticks, const std::string& unit);
/// Horizontal lines with numbers to the left; `unit` stands above them.
void drawGridY(Painter& painter, const Rect& panel, const Axis& axis,
               const std::vector<Tick>& ticks, const std::string& unit);

struct LegendEntry {
    std::string text;
    Colour colour;
    bool isArea = false;
};
/// Above the panel the caption and, on a line of its own, the legend, whose last entry is cut with
/// an ellipsis where it does not fit.
void drawCaption(Painter& painter, const Rect& panel, const std::string& caption,
                 const std::vector<LegendEntry>& legend);

} // namespace render
