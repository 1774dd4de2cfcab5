#include "tools/render/Painter.h"

#include "tools/common/Failure.h"
#include "tools/common/NewFile.h"
#include "tools/common/Text.h"

namespace render {
namespace {

constexpr const char* kEllipsis = "\u2026";

} // namespace

Painter::Painter(double width, double height, Colour background)
    : surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width),
                                         static_cast<int>(height))),
      context(cairo_create(surface.get())), cairo(context.get()) {
    fill({0.0, 0.0, width, height}, background);
}

void Painter::fill(const Rect& rect, Colour colour) {
    setColour(colour);
    cairo_rectangle(cairo, rect.x, rect.y, rect.width, rect.height);
    cairo_fill(cairo);
}

void Painter::outline(const Rect& rect, Colour colour) {
    setColour(colour);
    cairo_set_line_width(cairo, 1.0);
    cairo_rectangle(cairo, rect.x, rect.y, rect.width, rect.height);
    cairo_stroke(cairo);
}

void Painter::line(Point from, Point to, Colour colour) { curve({from, to}, colour, 1.0); }

void Painter::curve(const std::vector<Point>& points, Colour colour, double width) {
    setColour(colour);
    cairo_set_line_width(cairo, width);
    cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
    trace(points);
    cairo_stroke(cairo);
}

void Painter::fillBetween(const std::vector<Point>& upper, const std::vector<Point>& lower,
                          Colour colour) {
    setColour(colour);
    trace(upper);
    for (auto point = lower.rbegin(); point != lower.rend(); ++point)
        cairo_line_to(cairo, point->x, point->y);
    cairo_close_path(cairo);
    cairo_fill(cairo);
}

void Painter::text(Point baseline, const std::string& text, double size, Colour colour, Align align,
                   bool bold) {
    setFont(size, bold);
    setColour(colour);
    cairo_text_extents_t extents{};
    cairo_text_extents(cairo, text.c_str(), &extents);
    const double shift = align == Align::Left    ? 0.0
                         : align == Align::Right ? extents.x_advance
                                                 : extents.x_advance / 2.0;
    const Point start{baseline.x - shift, baseline.y};
    if (extents.width > 0.0)
        placed.push_back({text,
                          {start.x + extents.x_bearing, start.y + extents.y_bearing, extents.width,
                           extents.height}});
    cairo_move_to(cairo, start.x, start.y);
    cairo_show_text(cairo, text.c_str());
    cairo_new_path(cairo); // text leaves a current point behind, where the next line would start
}

double Painter::textWidth(const std::string& text, double size, bool bold) {
    setFont(size, bold);
    cairo_text_extents_t extents{};
    cairo_text_extents(cairo, text.c_str(), &extents);
    return extents.x_advance;
}

std::string Painter::fitted(const std::string& text, double size, double width, bool bold) {
    std::string kept = terminal::printable(text);
    if (textWidth(kept, size, bold) <= width)
        return kept;
    do
        terminal::dropLast(kept);
    while (!kept.empty() && textWidth(kept + kEllipsis, size, bold) > width);
    return kept + kEllipsis;
}

std::string Painter::png() const {
    std::string bytes;
    const auto append = [](void* to, const unsigned char* data, unsigned size) {
        static_cast<std::string*>(to)->append(reinterpret_cast<const char*>(data), size);
        return CAIRO_STATUS_SUCCESS;
    };
    cairo_surface_write_to_png_stream(surface.get(), append, &bytes);
    return bytes;
}

void Painter::save(const std::filesystem::path& path) {
    tools::NewFile file(path);
    const cairo_status_t status = cairo_surface_write_to_png(surface.get(), file.path().c_str());
    if (status != CAIRO_STATUS_SUCCESS)
        tools::fail(path.string() + ": cannot write the picture (" +
                    cairo_status_to_string(status) + ")");
    file.keep();
}

void Painter::setFont(double size, bool bold) {
    cairo_select_font_face(cairo, "Sans", CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cairo, size);
}

void Painter::setColour(Colour colour) {
    cairo_set_source_rgba(cairo, colour.red, colour.green, colour.blue, colour.alpha);
}

void Painter::trace(const std::vector<Point>& points) {
    cairo_new_path(cairo); // a text leaves its end as the current point
    for (const Point& point : points)
        cairo_line_to(cairo, point.x, point.y);
}

} // namespace render
