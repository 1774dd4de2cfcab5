#include "tools/render/Plot.h"

#include "tools/render/Theme.h"

namespace render {
namespace {

constexpr double kSwatch = 18.0;
constexpr double kSwatchGap = 7.0;
constexpr double kEntryGap = 16.0;
constexpr double kLegendLift = 12.0;
constexpr double kCaptionLift = 36.0;

void drawSwatch(Painter& painter, Point at, const LegendEntry& entry) {
    const double height = entry.isArea ? 11.0 : 3.0;
    painter.fill({at.x, at.y - 5.0 - height / 2.0, kSwatch, height}, entry.colour);
}

} // namespace

void drawPanel(Painter& painter, const Rect& panel) {
    painter.fill(panel, theme::kPanel);
    painter.outline(panel, theme::kGrid);
}

void drawGridX(Painter& painter, const Rect& panel, const Axis& axis,
               const std::vector<Tick>& ticks, const std::string& unit) {
    const double labelY = panel.bottom() + 21.0;
    for (const Tick& tick : ticks) {
        const double x = axis.pixel(tick.value);
        painter.line({x, panel.y}, {x, panel.bottom()}, theme::kGrid);
        painter.text({x, labelY}, tick.label, theme::kLabelSize, theme::kFaintText, Align::Centre);
    }
    painter.text({panel.right(), labelY + 20.0}, unit, theme::kLabelSize, theme::kFaintText,
                 Align::Right);
}

void drawGridY(Painter& painter, const Rect& panel, const Axis& axis,
               const std::vector<Tick>& ticks, const std::string& unit) {
    const double labelX = panel.x - 10.0;
    for (const Tick& tick : ticks) {
        const double y = axis.pixel(tick.value);
        painter.line({panel.x, y}, {panel.right(), y}, theme::kGrid);
        painter.text({labelX, y + 5.0}, tick.label, theme::kLabelSize, theme::kFaintText,
                     Align::Right);
    }
    painter.text({labelX, panel.y - kLegendLift}, unit, theme::kLabelSize, theme::kFaintText,
                 Align::Right);
}

void drawCaption(Painter& painter, const Rect& panel, const std::string& caption,
                 const std::vector<LegendEntry>& legend) {
    const double baseline = panel.y - kLegendLift;
    painter.text({panel.x, panel.y - kCaptionLift}, caption, theme::kLabelSize, theme::kText);
    double x = panel.x;
    for (const LegendEntry& entry : legend) {
        drawSwatch(painter, {x, baseline}, entry);
        x += kSwatch + kSwatchGap;
        const std::string text = painter.fitted(entry.text, theme::kLabelSize, panel.right() - x);
        painter.text({x, baseline}, text, theme::kLabelSize, theme::kText);
        x += painter.textWidth(text, theme::kLabelSize) + kEntryGap;
    }
}

} // namespace render
