#include "tools/render/Axis.h"

#include <algorithm>
#include <cmath>

namespace render {
namespace {

constexpr double kWidth = 1400.0;
constexpr double kMargin = 36.0;
constexpr double kHeaderHeight = 76.0;
constexpr double kTrackHeight = 436.0;
constexpr double kHeadingDrop = 30.0; ///< from the top of a track's part to its heading
constexpr double kPlotDrop = 98.0;    ///< and to its plots
constexpr double kPlotHeight = 270.0;
constexpr double kLabelWidth = 56.0; ///< numbers beside a plot
constexpr double kGap = 40.0;

std::string number(double value) { return std::to_string(std::lround(value)); }

} // namespace

Axis::Axis(Scale scale, double fromValue, double toValue, double fromPixel, double toPixel)
    : valueScale(scale), firstValue(fromValue), lastValue(toValue), firstPixel(fromPixel),
      lastPixel(toPixel) {}

double Axis::pixel(double value) const {
    const double held =
        std::clamp(value, std::min(firstValue, lastValue), std::max(firstValue, lastValue));
    const double part = valueScale == Scale::Logarithmic
                            ? std::log(held / firstValue) / std::log(lastValue / firstValue)
                            : (held - firstValue) / (lastValue - firstValue);
    return std::lerp(firstPixel, lastPixel, part);
}

double Axis::value(double pixel) const {
    const double part = (pixel - firstPixel) / (lastPixel - firstPixel);
    return valueScale == Scale::Logarithmic ? firstValue * std::pow(lastValue / firstValue, part)
                                            : std::lerp(firstValue, lastValue, part);
}

std::vector<Tick> frequencyTicks() {
    return {{20, "20"},   {30, ""},     {50, "50"},     {70, ""},      {100, "100"}, {200, "200"},
            {300, ""},    {500, "500"}, {700, ""},      {1000, "1k"},  {2000, "2k"}, {3000, ""},
            {5000, "5k"}, {7000, ""},   {10000, "10k"}, {20000, "20k"}};
}

std::vector<Tick> decibelTicks(const Axis& axis, double stepDb) {
    std::vector<Tick> ticks;
    const double low = std::min(axis.from(), axis.to());
    const double high = std::max(axis.from(), axis.to());
    for (double value = std::ceil(low / stepDb) * stepDb; value <= high; value += stepDb)
        ticks.push_back({value, number(value)});
    return ticks;
}

std::vector<Tick> secondTicks(double seconds) {
    double step = 1.0;
    for (const double candidate : {1.0, 2.0, 5.0, 10.0, 30.0, 60.0, 120.0, 300.0, 600.0, 3600.0}) {
        step = candidate;
        if (seconds / step <= 12.0)
            break;
    }
    std::vector<Tick> ticks;
    for (double value = 0.0; value <= seconds; value += step)
        ticks.push_back({value, number(value)});
    return ticks;
}

PictureLayout layoutPicture(std::size_t trackCount) {
    PictureLayout layout;
    layout.width = kWidth;
    layout.height = kHeaderHeight + kTrackHeight * static_cast<double>(trackCount);
    layout.titleY = 50.0;
    layout.margin = kMargin;
    const double plotWidth = (kWidth - 2 * kMargin - kGap - 2 * kLabelWidth) / 2;
    for (std::size_t i = 0; i < trackCount; ++i) {
        const double top = kHeaderHeight + kTrackHeight * static_cast<double>(i);
        const double left = kMargin + kLabelWidth;
        TrackPlace place;
        place.headingY = top + kHeadingDrop;
        place.spectrum = {left, top + kPlotDrop, plotWidth, kPlotHeight};
        place.reduction = place.spectrum;
        place.reduction.x = place.spectrum.right() + kGap + kLabelWidth;
        layout.tracks.push_back(place);
    }
    return layout;
}

} // namespace render
