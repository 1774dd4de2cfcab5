/// The design canvas: where everything lies, stated once for drawing and hit test alike.
///
/// All numbers are canvas units: the window shows 960 × 600 of them at any size.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>

namespace ui {

/// The value clamped to [low, high]. NaN counts as low; where the limits cross, high wins. [any]
template <class Number>
[[nodiscard]] constexpr Number inRange(Number value, Number low, Number high) {
    return std::min(std::max(low, value), high); // this order drops a NaN
}

struct Point {
    float x = 0.0F;
    float y = 0.0F;
    bool operator==(const Point&) const = default;
};

struct Rect {
    float x = 0.0F;
    float y = 0.0F;
    float width = 0.0F;
    float height = 0.0F;

    [[nodiscard]] constexpr float right() const { return x + width; }
    [[nodiscard]] constexpr float bottom() const { return y + height; }
    [[nodiscard]] constexpr Point centre() const { return {x + 0.5F * width, y + 0.5F * height}; }
    /// Edges belong to the rectangle.
    [[nodiscard]] constexpr bool contains(Point p) const {
        return p.x >= x && p.x <= right() && p.y >= y && p.y <= bottom();
    }
};

/// This track or the linked peer.
enum class Side { Local, Remote };

inline constexpr Rect kCanvas = {0.0F, 0.0F, 960.0F, 600.0F};

// Top row
inline constexpr Rect kLogo = {8.0F, 10.0F, 22.0F, 22.0F};
inline constexpr Point kLogoText = {36.0F, 21.0F};
inline constexpr Rect kNameField = {66.0F, 8.0F, 220.0F, 24.0F};
inline constexpr Point kLocalTitle = {480.0F, 21.0F};
inline constexpr Rect kOwnBypass = {538.0F, 12.0F, 36.0F, 18.0F};
inline constexpr Rect kOwnDuck = {580.0F, 12.0F, 46.0F, 18.0F};
inline constexpr Point kRegistryDot = {944.0F, 21.0F};
inline constexpr Point kRegistryText = {934.0F, 21.0F};

// Analyzers
inline constexpr float kAnalyzerLeft = 8.0F;
inline constexpr float kAnalyzerWidth = 944.0F;
inline constexpr float kAnalyzerHeight = 210.0F;
inline constexpr Rect kLocalAnalyzer = {kAnalyzerLeft, 34.0F, kAnalyzerWidth, kAnalyzerHeight};
inline constexpr Rect kRemoteAnalyzer = {kAnalyzerLeft, 278.0F, kAnalyzerWidth, kAnalyzerHeight};
// Only bands wider than these have the handle, in drawing and hit test.
inline constexpr float kThresholdNeedsWidth = 30.0F;
inline constexpr float kRatioNeedsWidth = 36.0F;
inline constexpr float kEdgeReach = 8.0F;  ///< closer than this is the edge between two bands
inline constexpr float kRatioLeft = 22.0F; ///< the ratio handle reaches from here left of the upper
inline constexpr float kRatioRight = 2.0F; ///< edge to here right of it
/// The middle of what is hit as the ratio handle, left of the upper edge: another band's edge takes
/// its right end.
[[nodiscard]] constexpr float ratioFromEdge(bool edgeFollows) {
    return 0.5F * (kRatioLeft + (edgeFollows ? kEdgeReach : -kRatioRight));
}
inline constexpr float kFilterHandleHeight = 18.0F; ///< below the analyzer's top
inline constexpr Point kFirstHint = {480.0F, 371.0F};
inline constexpr Point kSecondHint = {480.0F, 397.0F};
inline constexpr Point kThirdHint = {480.0F, 431.0F};
inline constexpr Point kFourthHint = {480.0F, 453.0F};

[[nodiscard]] constexpr Side otherOf(Side side) {
    return side == Side::Local ? Side::Remote : Side::Local;
}
[[nodiscard]] constexpr const Rect& analyzerOf(Side side) {
    return side == Side::Local ? kLocalAnalyzer : kRemoteAnalyzer;
}

// Row between the analyzers
inline constexpr Rect kDropdown = {8.0F, 253.0F, 280.0F, 22.0F};
inline constexpr Point kRemoteTitle = {480.0F, 265.0F};
inline constexpr Rect kPeerBypass = {548.0F, 256.0F, 36.0F, 18.0F};
inline constexpr Rect kPeerDuck = {590.0F, 256.0F, 46.0F, 18.0F};
inline constexpr float kFirstEntryTop = 279.0F;

/// From one entry of the open list to the next: less where the list would leave the canvas, which
/// it does with 15, as many as a registry can offer.
[[nodiscard]] constexpr float entryPitch(int entries) {
    constexpr float kRoom = kCanvas.height - 4.0F - kFirstEntryTop;
    return std::min(22.0F, kRoom / static_cast<float>(std::max(entries, 1)));
}
/// The open list with this many entries; with none it holds one line of text.
[[nodiscard]] constexpr Rect dropdownList(int entries) {
    const float height =
        entries == 0 ? 26.0F : entryPitch(entries) * static_cast<float>(entries) + 4.0F;
    return {8.0F, kFirstEntryTop - 2.0F, 280.0F, height};
}
/// The sensitive area of one of the entries, the list's whole width.
[[nodiscard]] constexpr Rect dropdownEntry(int index, int entries) {
    return {8.0F, kFirstEntryTop + entryPitch(entries) * static_cast<float>(index), 280.0F, 20.0F};
}

// Knob row
inline constexpr Rect kKnobPanel = {8.0F, 496.0F, 944.0F, 80.0F};
inline constexpr float kKnobRadius = 20.0F;
inline constexpr float kKnobReach = 26.0F; ///< within this distance a knob is hit
inline constexpr float kKnobRowY = 540.0F;
/// Own attack, release and makeup, then the peer's.
inline constexpr std::array<Point, 6> kKnobCentres = {{{68.0F, kKnobRowY},
                                                       {158.0F, kKnobRowY},
                                                       {248.0F, kKnobRowY},
                                                       {712.0F, kKnobRowY},
                                                       {802.0F, kKnobRowY},
                                                       {892.0F, kKnobRowY}}};

inline constexpr Rect kResizeCorner = {928.0F, 568.0F, 32.0F, 32.0F};

// Axes

inline constexpr float kLowestHz = 20.0F;
inline constexpr float kHighestHz = 20000.0F;
inline constexpr float kThresholdUnitsPerDb = 3.5F;
/// Differs from the thresholds' on purpose: the spectrum spans 80 dB, the thresholds 60.
inline constexpr float kLevelUnitsPerDb = 2.625F;
inline constexpr float kLowestLevelDb = -80.0F;
/// Lines of the level grid, below an analyzer's top: 12 dB of the spectrum apart.
inline constexpr std::array kLevelLines = {31.5F, 63.0F, 94.5F, 126.0F, 157.5F};

/// Where a frequency lies on the 944 units from 20 Hz to 20 kHz, logarithmic, 0 at the left edge.
/// Frequencies outside, and NaN, count as the nearer end (NaN as 20 Hz).
[[nodiscard]] inline float axisOffset(float hz) {
    const float decades = std::log10((hz > kLowestHz ? hz : kLowestHz) / kLowestHz);
    return kAnalyzerWidth * std::clamp(decades / 3.0F, 0.0F, 1.0F);
}
/// The same as a canvas x.
[[nodiscard]] inline float xOf(float hz) { return kAnalyzerLeft + axisOffset(hz); }
/// Frequency at a canvas x, Hz, 20 to 20000; NaN counts as the left edge.
[[nodiscard]] inline float hzAt(float x) {
    const float t = inRange((x - kAnalyzerLeft) / kAnalyzerWidth, 0.0F, 1.0F);
    return kLowestHz * std::pow(1000.0F, t);
}
/// Height of a band's threshold line.
[[nodiscard]] constexpr float thresholdY(Side side, float thresholdDb) {
    return analyzerOf(side).y - kThresholdUnitsPerDb * thresholdDb;
}
/// Height of the spectrum curve at a level.
[[nodiscard]] constexpr float levelY(Side side, float levelDb) {
    return analyzerOf(side).y - kLevelUnitsPerDb * std::clamp(levelDb, kLowestLevelDb, 0.0F);
}
/// Height of a threshold of this side's in the other analyzer, on the scale of the spectrum that it
/// is compared with: what is drawn above is ducked.
[[nodiscard]] constexpr float thresholdGhostY(Side side, float thresholdDb) {
    return levelY(otherOf(side), thresholdDb);
}

/// How the canvas lies in the window: scaled to fit, centred.
struct CanvasFit {
    float zoom = 1.0F; ///< pixels per unit, 0.5 to 3
    Point offset;      ///< of the canvas in the window, units

    [[nodiscard]] static CanvasFit of(float widthPx, float heightPx) {
        const float zoom =
            std::clamp(std::min(heightPx / kCanvas.height, widthPx / kCanvas.width), 0.5F, 3.0F);
        return {
            zoom,
            {0.5F * (widthPx / zoom - kCanvas.width), 0.5F * (heightPx / zoom - kCanvas.height)}};
    }
    [[nodiscard]] Point toCanvas(double xPx, double yPx) const {
        return {static_cast<float>(xPx) / zoom - offset.x,
                static_cast<float>(yPx) / zoom - offset.y};
    }
};

} // namespace ui
