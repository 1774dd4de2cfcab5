#include "tools/render/Painter.h"

#include "tools/render/Failure.h"

namespace render {

Painter::Painter(double width, double height, Colour background)
    : mSurface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width),
                                          static_cast<int>(height))),
      mCairo(cairo_create(mSurface)) {
    fill({0.0, 0.0, width, height}, background);
}

Painter::~Painter() {
    cairo_destroy(mCairo);
    cairo_surface_destroy(mSurface);
}

void Painter::fill(const Rect& rect, Colour colour) {
    setColour(colour);
    cairo_rectangle(mCairo, rect.x, rect.y, rect.width, rect.height);
    cairo_fill(mCairo);
}

void Painter::outline(const Rect& rect, Colour colour) {
    setColour(colour);
    cairo_set_line_width(mCairo, 1.0);
    cairo_rectangle(mCairo, rect.x, rect.y, rect.width, rect.height);
    cairo_stroke(mCairo);
}

void Painter::line(Point from, Point to, Colour colour) { curve({from, to}, colour, 1.0); }

void Painter::curve(const std::vector<Point>& points, Colour colour, double width) {
    setColour(colour);
    cairo_set_line_width(mCairo, width);
    cairo_set_line_join(mCairo, CAIRO_LINE_JOIN_ROUND);
    trace(points);
    cairo_stroke(mCairo);
}

void Painter::fillBetween(const std::vector<Point>& upper, const std::vector<Point>& lower,
                          Colour colour) {
    setColour(colour);
    trace(upper);
    for (auto point = lower.rbegin(); point != lower.rend(); ++point)
        cairo_line_to(mCairo, point->x, point->y);
    cairo_close_path(mCairo);
    cairo_fill(mCairo);
}

void Painter::text(Point baseline, const std::string& text, double size, Colour colour, Align align,
                   bool bold) {
    const double width = align == Align::Left ? 0.0 : textWidth(text, size, bold);
    const double shift = align == Align::Right ? width : width / 2.0;
    setFont(size, bold);
    setColour(colour);
    cairo_move_to(mCairo, baseline.x - shift, baseline.y);
    cairo_show_text(mCairo, text.c_str());
    cairo_new_path(mCairo); // text leaves a current point behind, where the next line would start
}

double Painter::textWidth(const std::string& text, double size, bool bold) {
    setFont(size, bold);
    cairo_text_extents_t extents{};
    cairo_text_extents(mCairo, text.c_str(), &extents);
    return extents.x_advance;
}

void Painter::save(const std::filesystem::path& path) {
    const cairo_status_t status = cairo_surface_write_to_png(mSurface, path.c_str());
    if (status != CAIRO_STATUS_SUCCESS)
        fail(path.string() + ": cannot write the picture (" + cairo_status_to_string(status) + ")");
}

void Painter::setFont(double size, bool bold) {
    cairo_select_font_face(mCairo, "Sans", CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(mCairo, size);
}

void Painter::setColour(Colour colour) {
    cairo_set_source_rgba(mCairo, colour.red, colour.green, colour.blue, colour.alpha);
}

void Painter::trace(const std::vector<Point>& points) {
    cairo_new_path(mCairo); // a text leaves its end as the current point
    for (const Point& point : points)
        cairo_line_to(mCairo, point.x, point.y);
}

} // namespace render
