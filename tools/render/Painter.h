/// The few drawing operations that pictures are made of, over cairo.
#pragma once

#include "tools/render/Axis.h"

#include <cairo.h>
#include <filesystem>
#include <string>
#include <vector>

namespace render {

struct Colour {
    double red, green, blue;
    double alpha = 1.0;

    [[nodiscard]] Colour faded(double newAlpha) const { return {red, green, blue, newAlpha}; }
};

struct Point {
    double x, y;
};

enum class Align { Left, Centre, Right };

/// A PNG in the making, in pixels from the upper left corner.
class Painter {
public:
    Painter(double width, double height, Colour background);
    ~Painter();
    Painter(const Painter&) = delete;
    Painter& operator=(const Painter&) = delete;

    void fill(const Rect& rect, Colour colour);
    void outline(const Rect& rect, Colour colour);
    void line(Point from, Point to, Colour colour);
    void curve(const std::vector<Point>& points, Colour colour, double width);
    /// The area between two curves.
    void fillBetween(const std::vector<Point>& upper, const std::vector<Point>& lower,
                     Colour colour);
    void text(Point baseline, const std::string& text, double size, Colour colour,
              Align align = Align::Left, bool bold = false);
    [[nodiscard]] double textWidth(const std::string& text, double size, bool bold = false);

    /// Throws tools::Failure when the file cannot be written.
    void save(const std::filesystem::path& path);

private:
    void setFont(double size, bool bold);
    void setColour(Colour colour);
    void trace(const std::vector<Point>& points);

    cairo_surface_t* surface;
    cairo_t* cairo;
};

} // namespace render
