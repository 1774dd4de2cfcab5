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
    constexpr float kMostShown = 1e9F;
    const float shown = std::isnan(value) ? 0.0F : std::clamp(value, -kMostShown, kMostShown);
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

struct Tooltip {
    Target first;
    int count;
    const char* text;
};
constexpr Tooltip kTooltips[] = {
    {Target::LocalAttack, 1, "Attack — how fast ducking reacts to peer transients"},
    {Target::LocalRelease, 1, "Release — how fast ducking lets go"},
    {Target::LocalMakeup, 1, "Output makeup gain"},
    {Target::PeerAttack, 1, "Peer's Attack — edits the paired instance"},
    {Target::PeerRelease, 1, "Peer's Release — edits the paired instance"},
    {Target::PeerMakeup, 1, "Peer's Makeup — edits the paired instance"},
    {Target::Name, 1, "Click to rename this instance — visible to other tracks"},
    {Target::Dropdown, 1,
     "Pick another TessellaDuckwork to pair with (drop one on another track first)"},
    {Target::LocalHighPass, 1, "High-pass — bins below this frequency are ignored"},
    {Target::LocalLowPass, 1, "Low-pass — bins above this frequency are ignored"},
    {Target::RemoteHighPass, 1, "Peer's High-pass — edits the paired instance"},
    {Target::RemoteLowPass, 1, "Peer's Low-pass — edits the paired instance"},
    {Target::LocalBand, 3,
     "Drag to move band • right-click in the analyzer to split • double-click to enable/disable"},
    {Target::LocalEdge, 3, "Drag to resize band • double-click to remove"},
    {Target::LocalThreshold, 3,
     "Threshold — peer level above this triggers ducking on this band • double-click to reset"},
    {Target::LocalRatio, 3, "Ratio — how aggressively the band is ducked • double-click to reset"},
    {Target::RemoteBand, 3, "Peer's band — drag to move (edits the paired instance)"},
    {Target::RemoteEdge, 3, "Peer's band edge — drag to resize, double-click to remove"},
    {Target::RemoteThreshold, 3, "Peer's threshold for this band — double-click to reset"},
    {Target::RemoteRatio, 3, "Peer's ratio for this band — double-click to reset"},
    {Target::OwnBypass, 1, "Bypass this instance — passthrough, but pairing stays alive"},
    {Target::PeerBypass, 1, "Bypass the paired peer — A/B without breaking the pairing"},
    {Target::OwnDuck, 1,
     "This track ducks against the peer. Turn off for one-sided ducking — this track keeps "
     "priority and only the peer gives way"},
    {Target::PeerDuck, 1,
     "The paired track ducks against this one. Turn off and the peer keeps priority instead — the "
     "same decision, taken from the other side"},
    {Target::ResizeCorner, 1, "Drag to resize the window"},
};

constexpr std::size_t kMostTypedBytes = 60;

/// Not DEL: the Delete key arrives as a text event with that byte.
bool isPrintableAscii(char byte) { return byte >= ' ' && byte < '\x7F'; }

} // namespace

const char* tooltipOf(Target target) {
    for (const auto& [first, count, text] : kTooltips)
        if (indexIn(first, target, count) >= 0)
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

void NameEdit::begin(const char* current) {
    buffer = {};
    std::memcpy(buffer.data(), current, strnlen(current, buffer.size() - 1));
    active = true;
}

void NameEdit::append(const char* utf8) {
    const std::size_t length = std::strlen(buffer.data());
    if (active && length < kMostTypedBytes && isPrintableAscii(utf8[0]))
        buffer[length] = utf8[0]; // the rest of the buffer is zero
}

void NameEdit::backspace() {
    const std::size_t length = std::strlen(buffer.data());
    if (active && length > 0)
        buffer[length - 1] = '\0';
}

} // namespace ui
