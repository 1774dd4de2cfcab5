/// Sizes of the editor, pixels: its design, its aspect ratio, its bounds; pure. [any]
#pragma once

#include <algorithm>

namespace editor {

/// Aligned so that any compiler reads and writes an atomic one without a lock.
struct alignas(2 * sizeof(int)) SizePx {
    int width = 0;
    int height = 0;
    friend bool operator==(const SizePx&, const SizePx&) = default;
};

inline constexpr SizePx kDesignSize = {960, 600};

inline constexpr unsigned kAspectWidth = 8; ///< the same in least terms, to 5
inline constexpr unsigned kAspectHeight = 5;
inline constexpr unsigned kMaxPx = 65535; ///< that a window can have, in either direction

/// The height that goes with a width, to the nearest pixel: width · 600 / 960. Widths up to a
/// million.
constexpr int heightFor(int width) {
    return (width * kDesignSize.height + kDesignSize.width / 2) / kDesignSize.width;
}
constexpr SizePx sizeFor(int width) { return {width, heightFor(width)}; }

inline constexpr SizePx kMinSize = sizeFor(480);
inline constexpr SizePx kMaxSize = sizeFor(3840); ///< that a host may impose
/// Deliberate: the user drags the corner less far than a host may go.
inline constexpr SizePx kMaxCornerSize = sizeFor(2880);

/// The size that the editor takes when a host asks for this one: its width as far as the bounds
/// allow, with the height that goes with it.
constexpr SizePx constrained(SizePx asked) {
    return sizeFor(std::clamp(asked.width, kMinSize.width, kMaxSize.width));
}

} // namespace editor
