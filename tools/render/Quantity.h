/// Numbers with units, as people write them. Pure.
#pragma once

#include <charconv>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>
#include <strings.h>

namespace render {

/// "-20.0 dB" as -20 and "dB".
struct Quantity {
    double number = 0.0;
    std::string unit; ///< what follows the number, without spaces around
};

/// Nothing when the text does not begin with a finite number.
inline std::optional<Quantity> parseQuantity(std::string_view text) {
    const auto trim = [](std::string_view part) {
        const std::size_t first = part.find_first_not_of(' ');
        const std::size_t last = part.find_last_not_of(' ');
        return first == std::string_view::npos ? "" : part.substr(first, last - first + 1);
    };
    text = trim(text);
    if (text.starts_with('+'))
        text.remove_prefix(1);
    double number = 0.0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || !std::isfinite(number))
        return std::nullopt;
    return Quantity{number, std::string(trim({rest, end}))};
}

/// The number of a text in this unit, which may be left out; thousands of Hz as "k" or "kHz".
/// Nothing for any other text: the whole of it counts.
inline std::optional<double> parseIn(std::string_view unit, std::string_view text) {
    const auto quantity = parseQuantity(text);
    const auto says = [&](const std::string& word) {
        return strcasecmp(quantity->unit.c_str(), word.c_str()) == 0;
    };
    if (quantity && (says("") || says(std::string(unit))))
        return quantity->number;
    if (quantity && unit == "Hz" && (says("k") || says("kHz")))
        return quantity->number * 1000.0;
    return std::nullopt;
}

} // namespace render
