/// Colours and sizes of the pictures.
#pragma once

#include "tools/render/Painter.h"
#include "tools/render/Trace.h"
#include "ui/Theme.h"

namespace render::theme {

inline constexpr Colour kBackground{0.075, 0.082, 0.102};
inline constexpr Colour kPanel{0.102, 0.114, 0.141};
inline constexpr Colour kGrid{0.20, 0.22, 0.265};
inline constexpr Colour kText{0.92, 0.93, 0.95};
inline constexpr Colour kFaintText{0.60, 0.63, 0.69};
inline constexpr Colour kBefore{0.55, 0.58, 0.64};
inline constexpr Colour kAfter{0.92, 0.93, 0.95};
inline constexpr Colour kPartner{0.62, 0.65, 0.71, 0.22};

/// As in the editor.
[[nodiscard]] constexpr Colour fromEditor(ui::Colour colour, double alpha = 1.0) {
    return {colour.red / 255.0, colour.green / 255.0, colour.blue / 255.0, alpha};
}
inline constexpr Colour kRemoved = fromEditor(ui::theme::kReduction, 0.42);
inline constexpr Colour kBandColours[kBands]{fromEditor(ui::theme::kBands[0]),
                                             fromEditor(ui::theme::kBands[1]),
                                             fromEditor(ui::theme::kBands[2])};

inline constexpr double kTitleSize = 28.0;
inline constexpr double kHeadingSize = 20.0;
inline constexpr double kLabelSize = 15.0;

} // namespace render::theme
