/// Every text of the editor that depends on state, and the formats of its numbers; pure.
#pragma once

#include "shm/TDRecords.h"
#include "ui/ControlMap.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace ui {

/// One instance that can be paired with.
using RemoteInstanceInfo = TDInstanceInfo;

/// A short text by value, so that a frame allocates nothing.
using ShortText = std::array<char, 32>;

/// What the tooltip of a part says; null for parts without one.
[[nodiscard]] const char* tooltipOf(const Hit& hit);

[[nodiscard]] ShortText valueText(float value, ValueFormat format);
[[nodiscard]] ShortText ratioText(float ratio);           ///< "4:1"
[[nodiscard]] ShortText edgeText(float hz);               ///< "250", from 1000 on "2k"
[[nodiscard]] ShortText filterText(float hz);             ///< "120", from 1000 on "1.5k"
[[nodiscard]] ShortText levelText(float levelDb);         ///< "-12"
[[nodiscard]] ShortText reductionText(float reductionDb); ///< "-6.3 dB" for 6.3 dB of reduction

/// The dropdown's header: the selected peer's name, or what to do.
[[nodiscard]] const char* dropdownText(std::span<const RemoteInstanceInfo> list,
                                       std::uint64_t selected);
inline constexpr const char* kEmptyListText = "Drop TessellaDuckwork on another track first";

/// The two lines in the empty remote analyzer.
struct Hints {
    const char* first;
    const char* second;
};
[[nodiscard]] Hints hintsFor(bool listIsEmpty);
/// Two more, for an instance that is not in the registry. `obstacle` is "what it is: what helps".
struct ObstacleTexts {
    std::string what;
    std::string remedy;
};
[[nodiscard]] ObstacleTexts textsOf(std::string_view obstacle);

/// A name being typed: printable ASCII is taken while it has fewer than 60 bytes.
class NameEdit {
public:
    void begin(const char* current); ///< starts with the current name, at most 63 bytes
    /// One text event. False: it is printable, but refused, not ASCII or more than there is room
    /// for.
    bool append(const char* utf8);
    void backspace(); ///< takes a whole character, also of a name that is not ASCII
    void end() { active = false; }
    [[nodiscard]] bool editing() const { return active; }
    [[nodiscard]] const char* text() const { return buffer.data(); }
    [[nodiscard]] const shm::Name& name() const { return buffer; } ///< the same
    bool operator==(const NameEdit&) const = default;

private:
    shm::Name buffer{};
    bool active = false;
};

} // namespace ui
