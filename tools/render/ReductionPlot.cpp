#include "tools/render/Plot.h"
#include "tools/render/Theme.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace render {
namespace {

constexpr double kSmallestRangeDb = 12.0;
constexpr double kPartnerShare = 0.55; ///< of the panel's height at the partner's highest peak

double longestSeconds(const RenderResult& result) {
    std::uint64_t frames = 0;
    for (const TrackTrace& track : result.tracks)
        frames = std::max(frames, track.frames);
    return static_cast<double>(frames) / result.sampleRate;
}

double deepestDb(const TrackTrace& track) {
    double deepest = 0.0;
    for (std::size_t band = 0; band < kBands; ++band)
        deepest = std::min(deepest, reductionOf(track, band).mostDb);
    return deepest;
}

/// The largest of a block's value over the blocks below each pixel column, however many those
/// are: a short duck in a long file stays visible.
std::vector<double> columns(const Axis& time, const Rect& panel, const RenderResult& result,
                            const TrackTrace& track, double offsetSeconds,
                            const std::function<double(const BlockTrace&)>& valueOf) {
    const auto blockAt = [&](double pixel) {
        const double position = (time.value(pixel) + offsetSeconds) / result.blockSeconds();
        return std::min(static_cast<std::size_t>(std::max(position, 0.0)), track.blocks.size());
    };
    std::vector<double> values;
    for (double pixel = panel.x; pixel < panel.right(); pixel += 1.0) {
        const std::size_t first = blockAt(pixel);
        const std::size_t end = std::max(blockAt(pixel + 1.0), first + 1);
        double largest = 0.0;
        for (std::size_t i = first; i < std::min(end, track.blocks.size()); ++i)
            largest = std::max(largest, valueOf(track.blocks[i]));
        values.push_back(largest);
    }
    return values;
}

std::vector<Point> pointsOf(const std::vector<double>& values, const Rect& panel, const Axis& y) {
    std::vector<Point> points;
    for (std::size_t i = 0; i < values.size(); ++i)
        points.push_back({panel.x + static_cast<double>(i), y.pixel(values[i])});
    return points;
}

void drawPartner(Painter& painter, const Rect& panel, const Axis& time, const RenderResult& result,
                 const TrackTrace& partner) {
    const auto levels = columns(time, panel, result, partner, 0.0, [](const BlockTrace& block) {
        return static_cast<double>(block.inputPeak);
    });
    const double highest = *std::max_element(levels.begin(), levels.end());
    const Axis y(Axis::Scale::Linear, 0.0, std::max(highest, 1e-6) / kPartnerShare, panel.bottom(),
                 panel.y);
    const std::vector<double> ground(levels.size(), 0.0);
    painter.fillBetween(pointsOf(levels, panel, y), pointsOf(ground, panel, y), theme::kPartner);
}

void drawBand(Painter& painter, const Rect& panel, const Axis& time, const Axis& y,
              const RenderResult& result, const TrackTrace& track, std::size_t band) {
    auto values =
        columns(time, panel, result, track, track.gainTimeOffset, [band](const BlockTrace& block) {
            return -static_cast<double>(block.gainReductionDb[band]);
        });
    for (double& value : values)
        value = -value;
    const std::vector<double> none(values.size(), 0.0);
    const Colour colour = theme::kBandColours[band];
    const auto points = pointsOf(values, panel, y);
    painter.fillBetween(pointsOf(none, panel, y), points, colour.faded(0.14));
    painter.curve(points, colour, 2.0);
}

} // namespace

void drawReductionPlot(Painter& painter, const Rect& panel, const RenderResult& result,
                       const TrackTrace& track, const TrackTrace* partner) {
    const double seconds = longestSeconds(result);
    const double rangeDb =
        std::max(kSmallestRangeDb, std::ceil((1.0 - deepestDb(track)) / 6.0) * 6.0);
    const Axis time(Axis::Scale::Linear, 0.0, seconds, panel.x, panel.right());
    const Axis y(Axis::Scale::Linear, -rangeDb, 0.0, panel.bottom(), panel.y);
    drawPanel(painter, panel);
    drawGridX(painter, panel, time, secondTicks(seconds), "s");
    drawGridY(painter, panel, y, decibelTicks(y, rangeDb > 30.0 ? 6.0 : 3.0), "dB");
    if (partner != nullptr)
        drawPartner(painter, panel, time, result, *partner);
    for (std::size_t band = kBands; band-- > 0;)
        drawBand(painter, panel, time, y, result, track, band);
    std::vector<LegendEntry> legend;
    for (std::size_t band = 0; band < kBands; ++band)
        legend.push_back({kBandNames[band], theme::kBandColours[band]});
    if (partner != nullptr)
        legend.push_back(
            {"amplitude (own scale) of " + partner->name, theme::kPartner.faded(0.5), true});
    drawCaption(painter, panel, deepestDb(track) < 0.0 ? "Gain reduction" : "Gain reduction: none",
                legend);
}

} // namespace render
