#include "ui/PanelTexts.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

namespace ui {
namespace {

/// The number as printf's "%.*f" gives it in the C locale, then the suffix. A zero has no sign;
/// what is no number is shown as zero.
ShortText numberText(float value, int decimals, std::string_view suffix) {
    constexpr float kMaxShown = 1e9F;
    const float shown = std::isnan(value) ? 0.0F : std::clamp(value, -kMaxShown, kMaxShown);
    ShortText text{};
    // to_chars, not printf: a host's locale must not turn the point into a comma.
    char* end =
        std::to_chars(text.begin(), text.end(), shown, std::chars_format::fixed, decimals).ptr;
    const std::string_view number(text.begin(), end);
    if (number.starts_with('-') && number.find_first_not_of("-0.") == std::string_view::npos)
        end = std::copy(text.begin() + 1, end, text.begin()); // "-0.0" comes from -0.02 too
    *std::ranges::copy(suffix, end).out = '\0';
    return text;
}

/// Hz below 1000, from there on kHz. What rounds to 1000 Hz is 1 kHz already.
ShortText frequencyText(float hz, int kilohertzDecimals) {
    constexpr float kKilohertzFrom = 999.5F;
    return hz >= kKilohertzFrom ? numberText(hz / 1000.0F, kilohertzDecimals, "k")
                                : numberText(hz, 0, "");
}

constexpr int kAny = -1; ///< any of the bands

struct Tooltip {
    Part part;
    Side side;
    int index;
    const char* text;
};
constexpr Tooltip kTooltips[] = {
    {Part::Knob, Side::Local, 0, "Attack — how fast ducking reacts to peer transients"},
    {Part::Knob, Side::Local, 1, "Release — how fast ducking lets go"},
    {Part::Knob, Side::Local, 2, "Output makeup gain"},
    {Part::Knob, Side::Remote, 0, "Peer's Attack — edits the paired instance"},
    {Part::Knob, Side::Remote, 1, "Peer's Release — edits the paired instance"},
    {Part::Knob, Side::Remote, 2, "Peer's Makeup — edits the paired instance"},
    {Part::Name, Side::Local, 0, "Click to rename this instance — visible to other tracks"},
    {Part::Dropdown, Side::Local, 0,
     "Pick another TessellaDuckwork to pair with (drop one on another track first)"},
    {Part::Filter, Side::Local, 0, "High-pass — bins below this frequency are ignored"},
    {Part::Filter, Side::Local, 1, "Low-pass — bins above this frequency are ignored"},
    {Part::Filter, Side::Remote, 0, "Peer's High-pass — edits the paired instance"},
    {Part::Filter, Side::Remote, 1, "Peer's Low-pass — edits the paired instance"},
    {Part::Body, Side::Local, kAny,
     "Drag to move band • right-click in the analyzer to split • double-click to enable/disable"},
    {Part::Edge, Side::Local, kAny, "Drag to resize band • double-click to remove"},
    {Part::Threshold, Side::Local, kAny,
     "Threshold — peer level above this triggers ducking on this band • double-click to reset"},
    {Part::Ratio, Side::Local, kAny,
     "Ratio — how aggressively the band is ducked • double-click to reset"},
    {Part::Body, Side::Remote, kAny, "Peer's band — drag to move (edits the paired instance)"},
    {Part::Edge, Side::Remote, kAny, "Peer's band edge — drag to resize, double-click to remove"},
    {Part::Threshold, Side::Remote, kAny, "Peer's threshold for this band — double-click to reset"},
    {Part::Ratio, Side::Remote, kAny, "Peer's ratio for this band — double-click to reset"},
    {Part::Bypass, Side::Local, 0, "Bypass this instance — passthrough, but pairing stays alive"},
    {Part::Bypass, Side::Remote, 0, "Bypass the paired peer — A/B without breaking the pairing"},
    {Part::Duck, Side::Local, 0,
     "This track ducks against the peer. Turn off for one-sided ducking — this track keeps "
     "priority and only the peer gives way"},
    {Part::Duck, Side::Remote, 0,
     "The paired track ducks against this one. Turn off and the peer keeps priority instead — the "
     "same decision, taken from the other side"},
    {Part::ResizeCorner, Side::Local, 0, "Drag to resize the window"},
};

constexpr std::size_t kMaxTypedBytes = 60;

/// Keys as Delete and Escape arrive as text events, too, with these bytes.
bool isControl(char byte) { return (byte >= '\0' && byte < ' ') || byte == '\x7F'; }
bool isAscii(char byte) { return static_cast<unsigned char>(byte) < 0x80; }
/// Of a UTF-8 character, after its first byte.
bool continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80; }

} // namespace

const char* tooltipOf(const Hit& hit) {
    for (const auto& [part, side, index, text] : kTooltips)
        if (part == hit.part && side == hit.side && (index == kAny || index == hit.index))
            return text;
    return nullptr;
}

ShortText valueText(float value, ValueFormat format) {
    // Whole values round half away from zero, as parameters show themselves to the host.
    return format == ValueFormat::Whole ? numberText(std::round(value), 0, "")
                                        : numberText(value, 1, "");
}

ShortText ratioText(float ratio) { return numberText(ratio, 0, ":1"); }
ShortText edgeText(float hz) { return frequencyText(hz, 0); }
ShortText filterText(float hz) { return frequencyText(hz, 1); }
ShortText levelText(float levelDb) { return numberText(levelDb, 0, ""); }
ShortText reductionText(float reductionDb) { return numberText(-reductionDb, 1, " dB"); }

const char* dropdownText(std::span<const RemoteInstanceInfo> list, std::uint64_t selected) {
    const auto found = std::ranges::find(list, selected, &RemoteInstanceInfo::id);
    if (selected != 0 && found != list.end())
        return found->name;
    return list.empty() ? "— add TD on another track —" : "— pick a track to pair with ▾";
}

Hints hintsFor(bool listIsEmpty) {
    if (listIsEmpty)
        return {"No other TessellaDuckwork running",
                "Drop another TessellaDuckwork on a different track to pair"};
    return {"Pick a track from the dropdown above ▲",
            "Pairing is bidirectional — both tracks react to each other"};
}

ObstacleTexts textsOf(std::string_view obstacle) {
    constexpr std::string_view kBetween = ": ";
    const std::size_t colon = std::min(obstacle.find(kBetween), obstacle.size());
    const std::size_t rest = std::min(colon + kBetween.size(), obstacle.size());
    return {"This one cannot pair: " + std::string(obstacle.substr(0, colon)),
            "To help: " + std::string(obstacle.substr(rest))};
}

void NameEdit::begin(const char* current) {
    buffer = {};
    std::memcpy(buffer.data(), current, strnlen(current, buffer.size() - 1));
    active = true;
}

bool NameEdit::append(const char* utf8) {
    if (!active || isControl(utf8[0]))
        return true;
    const std::size_t length = std::strlen(buffer.data());
    if (length >= kMaxTypedBytes || !isAscii(utf8[0]))
        return false;
    buffer[length] = utf8[0]; // the rest of the buffer is zero
    return true;
}

void NameEdit::backspace() {
    std::size_t length = std::strlen(buffer.data());
    bool whole = !active;
    while (!whole && length > 0) {
        --length;
        whole = !continues(buffer[length]);
        buffer[length] = '\0';
    }
}

} // namespace ui
