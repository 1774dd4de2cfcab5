/// Foreign text and numbers made fit for a terminal. Pure.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace terminal {

/// Length in bytes of the well-formed UTF-8 character that text begins with; 0 when it begins
/// with anything else. text is not empty.
inline std::size_t utf8Length(std::string_view text) {
    const auto byte = [text](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const unsigned lead = byte(0);
    if (lead < 0x80)
        return 1;
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4)
        return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0U) != 0x80)
            return 0;
    // Overlong forms, surrogates and what lies beyond U+10FFFF.
    const bool malformed = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) > 0x9F) ||
                           (lead == 0xF0 && byte(1) < 0x90) || (lead == 0xF4 && byte(1) > 0x8F);
    return malformed ? 0 : length;
}

/// The text as valid UTF-8 with a '?' for each malformed byte and each control character, so that
/// a foreign name cannot steer the terminal.
inline std::string printable(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const std::size_t length = utf8Length(text);
        const auto lead = static_cast<unsigned char>(text[0]);
        const bool control = length == 1 && (lead < 0x20 || lead == 0x7F);
        const bool wideControl = length == 2 && lead == 0xC2 &&
                                 static_cast<unsigned char>(text[1]) < 0xA0; // U+0080 to U+009F
        out += length == 0 || control || wideControl ? "?" : text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return out;
}

/// Characters in valid UTF-8, each taken for one column.
inline std::size_t width(std::string_view text) {
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; }));
}

/// Takes the last character off valid UTF-8 that is not empty.
inline void dropLast(std::string& text) {
    while ((static_cast<unsigned char>(text.back()) & 0xC0U) == 0x80)
        text.pop_back();
    text.pop_back();
}

/// A number with at most six significant digits; '?' when it is not finite.
inline std::string number(double value) {
    if (!std::isfinite(value))
        return "?";
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

/// The rows with their columns aligned to the left and two spaces apart, a line each.
template <std::size_t n>
std::string aligned(const std::vector<std::array<std::string, n>>& rows) {
    std::array<std::size_t, n> widths{};
    for (const auto& row : rows)
        for (std::size_t i = 0; i < n; ++i)
            widths[i] = std::max(widths[i], width(row[i]));
    std::string text;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < n; ++i)
            line += row[i] + std::string(widths[i] + 2 - width(row[i]), ' ');
        text += line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
    }
    return text;
}

} // namespace terminal
