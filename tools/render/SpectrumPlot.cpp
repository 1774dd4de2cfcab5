#include "tools/render/Plot.h"
#include "tools/render/Spectrum.h"
#include "tools/render/Theme.h"

#include <algorithm>
#include <cmath>

namespace render {
namespace {

constexpr double kLowHz = 20.0;
constexpr double kHighHz = 20000.0;
constexpr double kRangeDb = 70.0;
constexpr float kDuckingDb = -1.0F; ///< a track that never gets here does not duck
constexpr double kBandStripHeight = 6.0;

float deepestDb(const BlockTrace& block) {
    return *std::min_element(block.gainReductionDb.begin(), block.gainReductionDb.end());
}

/// What a block needs to count: half of the most that the track ducks, in dB; 0 when it does not.
float gateDb(const TrackTrace& track) {
    float deepest = 0.0F;
    for (const BlockTrace& block : track.blocks)
        deepest = std::min(deepest, deepestDb(block));
    return deepest <= kDuckingDb ? deepest / 2.0F : 0.0F;
}

FrameFilter onlyBelow(float limitDb, const RenderResult& result, const TrackTrace& track) {
    return [limitDb, &result, &track](double seconds) {
        const double position = (seconds + track.gainTimeOffset) / result.blockSeconds();
        const auto index = static_cast<std::size_t>(position);
        return index < track.blocks.size() && deepestDb(track.blocks[index]) <= limitDb;
    };
}

std::vector<Point> curveOf(const Spectrum& spectrum, const Axis& x, const Axis& y,
                           const Rect& panel) {
    const double nyquist = spectrum.binHz * static_cast<double>(spectrum.power.size());
    std::vector<Point> points;
    for (double pixel = panel.x; pixel <= panel.right(); pixel += 1.0)
        if (const double hz = x.value(pixel); hz < nyquist)
            points.push_back({pixel, y.pixel(spectrum.levelDb(hz))});
    return points;
}

/// The lower of two curves, so that only what was taken away is filled.
std::vector<Point> lowerOf(std::vector<Point> a, const std::vector<Point>& b) {
    for (std::size_t i = 0; i < a.size(); ++i)
        a[i].y = std::max(a[i].y, b[i].y);
    return a;
}

double highestDb(const Spectrum& spectrum) {
    const double power = *std::max_element(spectrum.power.begin(), spectrum.power.end());
    return 10.0 * std::log10(std::max(power, 1e-12));
}

/// Which part of the axis belongs to which band, in the colours of the other plot.
void drawBandStrip(Painter& painter, const Rect& panel, const Axis& x, const TrackTrace& track) {
    const double edges[kBands + 1]{kLowHz, track.splitHz[0], track.splitHz[1], kHighHz};
    if (track.splitHz[0] <= 0.0 || track.splitHz[1] < track.splitHz[0])
        return;
    for (std::size_t band = 0; band < kBands; ++band) {
        const double from = x.pixel(edges[band]);
        painter.fill({from, panel.bottom() - kBandStripHeight, x.pixel(edges[band + 1]) - from,
                      kBandStripHeight},
                     theme::kBandColours[band]);
    }
}

} // namespace

void drawSpectrumPlot(Painter& painter, const Rect& panel, const RenderResult& result,
                      const TrackTrace& track) {
    const float limitDb = gateDb(track);
    const FrameFilter counts = onlyBelow(limitDb, result, track);
    const Spectrum before = averageSpectrum(track.inputPath, 0, track.frames, counts);
    const Spectrum after =
        averageSpectrum(track.outputPath, track.outputOffset, track.frames, counts);

    const double topDb = std::ceil((highestDb(before) + 3.0) / 10.0) * 10.0;
    const Axis x(Axis::Scale::Logarithmic, kLowHz, kHighHz, panel.x, panel.right());
    const Axis y(Axis::Scale::Linear, topDb - kRangeDb, topDb, panel.bottom(), panel.y);
    drawPanel(painter, panel);
    drawGridX(painter, panel, x, frequencyTicks(), "Hz");
    drawGridY(painter, panel, y, decibelTicks(y, 10.0), "dB");
    const auto beforeCurve = curveOf(before, x, y, panel);
    const auto afterCurve = curveOf(after, x, y, panel);
    painter.fillBetween(beforeCurve, lowerOf(beforeCurve, afterCurve), theme::kRemoved);
    painter.curve(beforeCurve, theme::kBefore, 2.0);
    painter.curve(afterCurve, theme::kAfter, 2.5);
    drawBandStrip(painter, panel, x, track);
    drawCaption(painter, panel, limitDb < 0.0F ? "Spectrum when ducked most" : "Spectrum",
                {{"before", theme::kBefore},
                 {"after", theme::kAfter},
                 {"taken away", theme::kRemoved, true}});
}

} // namespace render
