#pragma once

#include <algorithm>

namespace ui {

/// The value clamped to [low, high]. NaN counts as low; where the limits cross, high wins. [any]
template <class Number>
[[nodiscard]] constexpr Number inRange(Number value, Number low, Number high) {
    return std::min(std::max(low, value), high); // this order drops a NaN
}

} // namespace ui
