#include "tools/render/Picture.h"

#include "tools/render/Axis.h"
#include "tools/render/Painter.h"
#include "tools/render/Plot.h"
#include "tools/render/Theme.h"

namespace render {
namespace {

std::string roleOf(const TrackTrace& track) {
    if (track.peerName.empty())
        return "unpaired";
    return (track.duckSelf ? "gives way to " : "keeps priority over ") + track.peerName;
}

void drawHeading(Painter& painter, const TrackTrace& track, const PictureLayout& layout,
                 double baseline) {
    painter.line({layout.margin, baseline - 30.0}, {layout.width - layout.margin, baseline - 30.0},
                 theme::kGrid);
    painter.text({layout.margin, baseline}, track.name, theme::kHeadingSize, theme::kText,
                 Align::Left, true);
    const double width = painter.textWidth(track.name, theme::kHeadingSize, true);
    painter.text({layout.margin + width + 16.0, baseline}, roleOf(track), theme::kHeadingSize,
                 theme::kFaintText);
}

const TrackTrace* partnerOf(const RenderResult& result, const TrackTrace& track) {
    return track.partner ? &result.tracks[*track.partner] : nullptr;
}

} // namespace

void drawPicture(const RenderResult& result, const std::filesystem::path& path) {
    const PictureLayout layout = layoutPicture(result.tracks.size());
    Painter painter(layout.width, layout.height, theme::kBackground);
    painter.text({layout.margin, layout.titleY}, "Spectral ducking", theme::kTitleSize,
                 theme::kText, Align::Left, true);
    for (std::size_t i = 0; i < result.tracks.size(); ++i) {
        const TrackTrace& track = result.tracks[i];
        drawHeading(painter, track, layout, layout.tracks[i].headingY);
        drawSpectrumPlot(painter, layout.tracks[i].spectrum, result, track);
        drawReductionPlot(painter, layout.tracks[i].reduction, result, track,
                          partnerOf(result, track));
    }
    painter.save(path);
}

} // namespace render
