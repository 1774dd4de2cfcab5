#include "adapter/IPlugParameter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace iplug {
namespace {

/// How many digits behind the point show every step: 0 for 1, 1 for 0.1.
int precisionOf(double step) {
    constexpr int kMaxDigits = 6;
    int digits = 0;
    while (digits < kMaxDigits && step != std::floor(step)) {
        step *= 10.0;
        ++digits;
    }
    return digits;
}

/// The text without the sign when it is a zero: "-0.0" comes from -0.00002 as well as from -0.0.
std::string_view withoutNegativeZero(std::string_view text) {
    const bool zero = text.find_first_not_of("-0.") == std::string_view::npos;
    if (zero && text.starts_with('-'))
        text.remove_prefix(1);
    return text;
}

} // namespace

IParam::IParam(const ParamSpec& row, std::atomic<unsigned>* changeCounter)
    : value(row.defaultValue), changes(changeCounter), spec(row),
      displayPrecision(precisionOf(row.step)) {}

void IParam::Set(double plain) noexcept {
    if (std::isnan(plain))
        return;
    value.exchange(Constrain(plain), std::memory_order_relaxed);
    if (changes != nullptr)
        changes->fetch_add(1, std::memory_order_release); // publishes the value
}

double IParam::Constrain(double plain) const noexcept {
    if (Stepped())
        plain = std::round(plain / spec.step) * spec.step;
    return std::clamp(plain, spec.min, spec.max);
}

double IParam::ToNormalized(double plain) const noexcept {
    return std::clamp((plain - spec.min) / (spec.max - spec.min), 0.0, 1.0);
}

double IParam::FromNormalized(double normalized) const noexcept {
    return spec.min + normalized * (spec.max - spec.min);
}

double IParam::ToHost(double plain) const noexcept {
    return Stepped() ? plain : ToNormalized(plain);
}

double IParam::FromHost(double hostValue) const noexcept {
    return Stepped() ? hostValue : FromNormalized(hostValue);
}

std::string IParam::ValueToString(double plain) const {
    std::array<char, 32> buffer{};
    double shown = Constrain(plain);
    if (displayPrecision == 0)
        shown = std::round(shown); // half away from zero, where to_chars would round to even
    // to_chars, not printf: a host's locale must not turn the point into a comma.
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), shown,
                                   std::chars_format::fixed, displayPrecision);
    std::string text(withoutNegativeZero({buffer.data(), end.ptr}));
    if (*spec.label != '\0')
        text.append(" ").append(spec.label);
    return text;
}

double IParam::StringToValue(std::string_view text) const noexcept {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    if (text.starts_with('+'))
        text.remove_prefix(1);
    double number = 0.0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
    if (parsed.ec == std::errc::result_out_of_range) // too large, or too small to tell from 0
        number = text.find("e-") != std::string_view::npos ? 0.0
                 : text.starts_with('-')                   ? spec.min
                                                           : spec.max;
    return Constrain(std::isnan(number) ? 0.0 : number);
}

} // namespace iplug
