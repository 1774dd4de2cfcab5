/// One parameter: its range, its value, and its conversions to normalised value and text.
#pragma once

#include <atomic>
#include <string>
#include <string_view>

namespace iplug {

/// Double parameters show themselves to the host as 0 to 1; Int ones are stepped and show their
/// own units.
enum class ParamType { Double, Int };

/// The fixed part of a parameter; texts are literals.
struct ParamSpec {
    const char* name;
    const char* label; ///< unit behind the number, "" for none
    double defaultValue;
    double min;
    double max;
    double step; ///< rounding of Int values, and the display precision of all
    ParamType type;
};

/// A parameter with its current value. The value may be read and set on any thread without a
/// lock; it is always finite and inside the range.
class IParam {
public:
    /// Every change steps the counter, if there is one; it must live as long.
    explicit IParam(const ParamSpec& row, std::atomic<unsigned>* changeCounter = nullptr);

    [[nodiscard]] const ParamSpec& Spec() const noexcept { return spec; }
    [[nodiscard]] bool Stepped() const noexcept { return spec.type == ParamType::Int; }

    /// The current value in the parameter's own unit. [any]
    [[nodiscard]] double Value() const noexcept { return value.load(std::memory_order_relaxed); }
    /// Sets the value as Constrain gives it; NaN keeps the current value. [any]
    void Set(double plain) noexcept;

    /// The value rounded to the step (stepped parameters only, half away from zero), then clamped
    /// to the range. NaN stays NaN. [any]
    [[nodiscard]] double Constrain(double plain) const noexcept;

    /// (plain - min) / (max - min), clamped to 0..1, and its inverse. [any]
    [[nodiscard]] double ToNormalized(double plain) const noexcept;
    [[nodiscard]] double FromNormalized(double normalized) const noexcept;

    // The host's view of a value: normalised for Double, plain for Int parameters. [any]
    [[nodiscard]] double ToHost(double plain) const noexcept;
    [[nodiscard]] double FromHost(double hostValue) const noexcept;

    /// The constrained value as text with its label, "200 Hz" or "-20.0 dB", the same in every
    /// locale. Allocates. [main, ui]
    [[nodiscard]] std::string ValueToString(double plain) const;
    /// The leading decimal number of the text, constrained; a text without one reads as 0. [any]
    [[nodiscard]] double StringToValue(std::string_view text) const noexcept;

private:
    std::atomic<double> value;
    std::atomic<unsigned>* const changes;
    const ParamSpec spec;
    const int displayPrecision; ///< digits behind the point
    static_assert(std::atomic<double>::is_always_lock_free);
};

} // namespace iplug
