/// Axes and layout of a picture, as plain arithmetic: no drawing here.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace render {

struct Rect {
    double x = 0.0;
    double y = 0.0;
    double width = 0.0;
    double height = 0.0;

    [[nodiscard]] double right() const { return x + width; }
    [[nodiscard]] double bottom() const { return y + height; }
};

struct Tick {
    double value = 0.0;
    std::string label; ///< empty: a line without a number
};

/// Maps a range of values onto a range of pixels, either of which may run downwards.
class Axis {
public:
    enum class Scale { Linear, Logarithmic };
    Axis(Scale scale, double fromValue, double toValue, double fromPixel, double toPixel);

    /// Values outside the range are held at its ends.
    [[nodiscard]] double pixel(double value) const;
    [[nodiscard]] double value(double pixel) const;
    [[nodiscard]] double from() const { return firstValue; }
    [[nodiscard]] double to() const { return lastValue; }

private:
    Scale valueScale;
    double firstValue, lastValue, firstPixel, lastPixel;
};

/// 20 Hz to 20 kHz: the usual numbers, and lines between them.
[[nodiscard]] std::vector<Tick> frequencyTicks();
/// Every `stepDb` from the axis' one end to the other.
[[nodiscard]] std::vector<Tick> decibelTicks(const Axis& axis, double stepDb);
/// Whole seconds or a step of 2, 5, 10, 30, 60 ... such that at most twelve numbers stand.
[[nodiscard]] std::vector<Tick> secondTicks(double seconds);

/// Places of everything in the picture, in pixels.
struct TrackPlace {
    double headingY = 0.0;
    Rect spectrum;
    Rect reduction;
};
struct PictureLayout {
    double width = 0.0;
    double height = 0.0;
    double titleY = 0.0;
    double margin = 0.0;
    std::vector<TrackPlace> tracks;
};
[[nodiscard]] PictureLayout layoutPicture(std::size_t trackCount);

} // namespace render
