/// Values of a saved state as text and as JSON. Any bit pattern may come.
#pragma once

#include "tools/common/Text.h"
#include "tools/state/Listing.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

namespace listing {

/// "20000", "inf" or "nan".
inline std::string numberText(double value) {
    if (std::isfinite(value))
        return terminal::number(value);
    return std::isnan(value) ? "nan" : value < 0 ? "-inf" : "inf";
}

/// "200 Hz", "4:1", "3".
inline std::string withUnit(std::string number, std::string_view unit) {
    const bool apart = !unit.empty() && !unit.starts_with(':');
    return number.append(apart ? " " : "").append(unit);
}

inline Json numberJson(double value) { return std::isfinite(value) ? Json(value) : Json(); }
/// The shortest number that stands for this float: 0.1, not 0.10000000149011612.
inline Json numberJson(float value) {
    std::array<char, 32> text{};
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value);
    double shortest = 0.0;
    std::from_chars(text.data(), end, shortest);
    return std::isfinite(value) ? Json(shortest) : Json();
}

/// Up to the first NUL, at most all but the last byte, as the plug-in takes it.
inline std::string_view fixedText(const std::array<char, 64>& field) {
    const std::string_view most(field.data(), field.size() - 1);
    return most.substr(0, most.find('\0'));
}

inline bool hasEnd(const std::array<char, 64>& field) { return field.back() == '\0'; }

} // namespace listing
