/// The few drawing operations that pictures are made of, over cairo.
#pragma once

#include "tools/render/Axis.h"

#include <cairo.h>
#include <filesystem>
#include <memory>
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

/// A text and the box round its ink.
struct PlacedText {
    std::string text;
    Rect ink;
};

/// A PNG in the making, in pixels from the upper left corner.
class Painter {
public:
    Painter(double width, double height, Colour background);

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
    /// The text, made printable and, where it is wider than `width`, cut with an ellipsis.
    [[nodiscard]] std::string fitted(const std::string& text, double size, double width,
                                     bool bold = false);
    /// All texts so far that have any ink.
    [[nodiscard]] const std::vector<PlacedText>& texts() const { return placed; }

    /// The bytes of a PNG file.
    [[nodiscard]] std::string png() const;
    /// Throws tools::Failure when the file cannot be written.
    void save(const std::filesystem::path& path);

private:
    template <auto destroy>
    struct Destroy {
        void operator()(auto* object) const { destroy(object); }
    };
    void setFont(double size, bool bold);
    void setColour(Colour colour);
    void trace(const std::vector<Point>& points);

    std::unique_ptr<cairo_surface_t, Destroy<cairo_surface_destroy>> surface;
    std::unique_ptr<cairo_t, Destroy<cairo_destroy>> context;
    cairo_t* cairo; ///< the context, for the calls
    std::vector<PlacedText> placed;
};

} // namespace render
