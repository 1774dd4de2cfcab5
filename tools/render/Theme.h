/// Colours and sizes of the pictures.
#pragma once

#include "tools/render/Painter.h"
#include "tools/render/Trace.h"

namespace render::theme {

inline constexpr Colour kBackground{0.075, 0.082, 0.102};
inline constexpr Colour kPanel{0.102, 0.114, 0.141};
inline constexpr Colour kGrid{0.20, 0.22, 0.265};
inline constexpr Colour kText{0.92, 0.93, 0.95};
inline constexpr Colour kFaintText{0.60, 0.63, 0.69};
inline constexpr Colour kBefore{0.62, 0.65, 0.71};
inline constexpr Colour kAfter{0.36, 0.83, 1.0};
inline constexpr Colour kRemoved{1.0, 0.38, 0.36, 0.42};
inline constexpr Colour kPartner{0.62, 0.65, 0.71, 0.22};

inline constexpr Colour kBandColours[kBands]{
    {1.0, 0.66, 0.24}, {0.30, 0.85, 0.55}, {0.66, 0.56, 1.0}};
inline constexpr const char* kBandNames[kBands]{"low", "mid", "high"};

inline constexpr double kTitleSize = 28.0;
inline constexpr double kHeadingSize = 20.0;
inline constexpr double kLabelSize = 15.0;

} // namespace render::theme
