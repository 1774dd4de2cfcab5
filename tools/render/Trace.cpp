#include "tools/render/Trace.h"

#include <algorithm>

namespace render {

ReductionFigures reductionOf(const TrackTrace& track, std::size_t band) {
    ReductionFigures figures;
    for (const BlockTrace& block : track.blocks) {
        const auto reductionDb = static_cast<double>(block.gainReductionDb[band]);
        figures.meanDb += reductionDb / static_cast<double>(track.blocks.size());
        figures.mostDb = std::min(figures.mostDb, reductionDb);
    }
    return figures;
}

} // namespace render
