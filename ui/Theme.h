/// Colours and text sizes, stated once.
#pragma once

#include "ui/Canvas.h"

#include <cstdint>

namespace ui {

struct Colour {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 255;

    [[nodiscard]] constexpr Colour withAlpha(std::uint8_t value) const {
        return {red, green, blue, value};
    }
    /// The same, `factor` times as opaque; 0 to 1.
    [[nodiscard]] constexpr Colour faded(float factor) const {
        return withAlpha(static_cast<std::uint8_t>(static_cast<float>(alpha) * factor));
    }
};

namespace theme {

inline constexpr Colour kBackground = {13, 13, 13};
inline constexpr Colour kPanel = {20, 20, 20};
inline constexpr Colour kOutline = {42, 42, 42}; ///< of panels and fields; tracks of the knobs
inline constexpr Colour kKnobFace = {29, 29, 33};
inline constexpr Colour kLevelGrid = {64, 64, 64, 136};
inline constexpr Colour kFrequencyGrid = {80, 80, 80, 136};
inline constexpr Colour kGridText = {112, 112, 112, 170};
inline constexpr Colour kLevelText = {160, 160, 160, 190}; ///< stands in the spectrum

inline constexpr Colour kText = {232, 232, 232};
inline constexpr Colour kInactiveText = kText.withAlpha(136);
inline constexpr Colour kDarkText = {20, 20, 20}; ///< on filled controls
inline constexpr Colour kRatioText = {0, 0, 0};
inline constexpr Colour kHot = {255, 255, 255, 238};

inline constexpr Colour kLocalAccent = {139, 92, 246};
inline constexpr Colour kRemoteAccent = {249, 115, 22};
[[nodiscard]] constexpr Colour accentOf(Side side) {
    return side == Side::Local ? kLocalAccent : kRemoteAccent;
}

inline constexpr Colour kLogo = {255, 140, 0};
inline constexpr Colour kNameHovered = {32, 32, 42};
inline constexpr Colour kNameEdited = {32, 24, 56};
inline constexpr Colour kHeader = {34, 34, 40};
inline constexpr Colour kHeaderHovered = {48, 48, 56};
inline constexpr Colour kList = {26, 26, 34};
inline constexpr Colour kEntrySelected = kLocalAccent.withAlpha(64);
inline constexpr Colour kEntryHovered = {255, 255, 255, 18};
inline constexpr Colour kFirstHint = {128, 128, 128, 136};
inline constexpr Colour kSecondHint = {128, 128, 128, 102};
inline constexpr Colour kRegistryOpen = {34, 197, 94};
inline constexpr Colour kRegistryClosed = {96, 96, 96, 204};

inline constexpr Colour kBands[] = {{249, 115, 22}, {34, 197, 94}, {56, 189, 248}};
inline constexpr std::uint8_t kBandBodyAlpha[] = {26, 22, 26}; ///< green looks brighter
inline constexpr float kDisabledBand = 0.35F;                  ///< factor on all alphas
inline constexpr Colour kHatching = {136, 136, 136, 64};
inline constexpr Colour kBodyHovered = {255, 255, 255, 10};
inline constexpr Colour kHandleOutline = {0, 0, 0, 128};
inline constexpr Colour kCasing = {0, 0, 0, 150}; ///< round lines on a spectrum of their colour
inline constexpr Colour kGhost = {255, 255, 255, 170};
inline constexpr Colour kEdge = kText.withAlpha(110);
inline constexpr Colour kLabelBox = {40, 40, 56, 221};
inline constexpr Colour kReduction = {255, 64, 64};
inline constexpr Colour kIgnoredRange = {13, 13, 13, 150}; ///< beyond the filters
inline constexpr Colour kFilterGrip = {46, 46, 58};

inline constexpr Colour kTooltip = {44, 44, 58, 245};
inline constexpr Colour kTooltipOutline = {90, 90, 112};
inline constexpr Colour kShadow = {0, 0, 0, 150};

// Em sizes, canvas units
inline constexpr float kTitleSize = 18.0F;
inline constexpr float kFirstHintSize = 16.0F;
inline constexpr float kLogoSize = 14.0F;
inline constexpr float kSecondHintSize = 13.0F;
inline constexpr float kFieldSize = 12.0F;
inline constexpr float kControlSize = 11.0F;
inline constexpr float kSmallSize = 10.0F;
inline constexpr float kRatioSize = 9.0F;
inline constexpr float kLevelSize = 8.0F;

} // namespace theme

} // namespace ui
