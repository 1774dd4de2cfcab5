#include "tools/render/Picture.h"

#include "tools/render/Axis.h"
#include "tools/render/Plot.h"
#include "tools/render/Theme.h"

namespace render {
namespace {

constexpr double kNameShare = 0.45; ///< of the width, at most; the rest is for the role
constexpr double kHeadingGap = 16.0;

std::string roleOf(const TrackTrace& track) {
    if (track.peerName.empty())
        return "unpaired";
    return (track.duckSelf ? "gives way to " : "keeps priority over ") + track.peerName;
}

void drawHeading(Painter& painter, const TrackTrace& track, const PictureLayout& layout,
                 double baseline) {
    const double right = layout.width - layout.margin;
    painter.line({layout.margin, baseline - 30.0}, {right, baseline - 30.0}, theme::kGrid);
    const std::string name =
        painter.fitted(track.name, theme::kHeadingSize, layout.width * kNameShare, true);
    painter.text({layout.margin, baseline}, name, theme::kHeadingSize, theme::kText, Align::Left,
                 true);
    const double x =
        layout.margin + painter.textWidth(name, theme::kHeadingSize, true) + kHeadingGap;
    painter.text({x, baseline}, painter.fitted(roleOf(track), theme::kHeadingSize, right - x),
                 theme::kHeadingSize, theme::kFaintText);
}

const TrackTrace* partnerOf(const RenderResult& result, const TrackTrace& track) {
    return track.partner ? &result.tracks[*track.partner] : nullptr;
}

} // namespace

Painter paintPicture(const RenderResult& result) {
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
    return painter;
}

void drawPicture(const RenderResult& result, const std::filesystem::path& path) {
    paintPicture(result).save(path);
}

} // namespace render
