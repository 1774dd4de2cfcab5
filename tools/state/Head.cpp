#include "tools/state/Values.h"

#include <algorithm>
#include <type_traits>

namespace listing {
namespace {

/// How people know a field of the head, and its unit.
struct Caption {
    const char* label;
    const char* unit;
};

// clang-format off
constexpr Caption kCaptions[state::kHeadFields] = {
    {"name of this instance", ""}, {"bands in use", ""}, {"band edges", "Hz"}, {"bands on", ""},
    {"name of the peer", ""},
    {"peer: bands", ""},       {"peer: band edges", "Hz"}, {"peer: thresholds", "dB"},
    {"peer: ratios", ":1"},    {"peer: bands on", ""},     {"peer: high-pass", "Hz"},
    {"peer: low-pass", "Hz"},  {"peer: attack", "ms"},     {"peer: release", "ms"},
    {"peer: makeup", "dB"},
};
// clang-format on

/// Text and JSON of one field; edges in pairs, as they belong together.
struct Show {
    Field& field;
    Caption caption;

    void operator()(const std::array<char, 64>& text) const {
        field.value = '"' + terminal::printable(fixedText(text)) + '"';
        field.json = std::string(fixedText(text));
    }
    void operator()(std::int32_t value) const {
        field.value = std::to_string(value);
        field.json = value;
    }
    void operator()(float value) const {
        field.value = withUnit(numberText(value), caption.unit);
        field.json = numberJson(value);
    }
    template <std::size_t n>
    void operator()(const std::array<float, n>& values) const {
        const bool pairs = n == std::tuple_size_v<decltype(state::Head::bandFreqs)>;
        for (std::size_t i = 0; i < n; ++i) {
            field.value += i == 0 ? "" : pairs && i % 2 == 1 ? " to " : ", ";
            field.value += numberText(values[i]);
            field.json.push_back(numberJson(values[i]));
        }
        field.value = withUnit(field.value, caption.unit);
    }
    void operator()(const std::array<std::uint8_t, 3>& flags) const {
        for (std::size_t i = 0; i < flags.size(); ++i) {
            field.value += std::string(i == 0 ? "" : ", ") + (flags[i] != 0 ? "on" : "off");
            field.json.push_back(flags[i] != 0);
        }
    }
};

template <class Value>
bool isFinite(const Value& value) {
    if constexpr (std::is_same_v<Value, float>)
        return std::isfinite(value);
    else if constexpr (std::is_same_v<Value, std::array<float, 3>> ||
                       std::is_same_v<Value, std::array<float, 6>>)
        return std::ranges::all_of(value, [](float one) { return std::isfinite(one); });
    else
        return true;
}

/// The edges of the bands in use are no bands: the plug-in derives them from the parameters.
bool edgesUseless(const state::Head& head) {
    const int count = std::clamp(head.activeBandCount, 1, 3);
    for (std::size_t band = 0; band < static_cast<std::size_t>(count); ++band)
        if (!(head.bandFreqs[2 * band] < head.bandFreqs[2 * band + 1]))
            return true;
    return false;
}

/// What the plug-in does with an odd value in this field.
std::string remarkOn(int index, const state::Head& head) {
    switch (index) {
    case state::InstanceName:
        if (head.instanceName[0] == '\0')
            return "empty: the present name stays";
        return hasEnd(head.instanceName) ? "" : "has no end: cut after 63 bytes";
    case state::ActiveBandCount:
        return head.activeBandCount >= 1 && head.activeBandCount <= 3
                   ? ""
                   : "not 1 to 3: ignored, the present number stays";
    case state::BandFreqs:
        return edgesUseless(head) ? "not usable: taken from FreqLow and FreqHigh instead" : "";
    case state::PeerName:
        return hasEnd(head.peerName) ? "" : "has no end: cut after 63 bytes";
    case state::ShadowBandCount:
        if (head.shadowBandCount > 3)
            return "above 3: ignored with all of the peer's settings";
        return head.shadowBandCount < 0 ? "below 0: taken as 0, nothing is remembered" : "";
    default:
        return "";
    }
}

std::string cutRemark(int index) {
    const bool countLost = index <= state::ActiveBandCount;
    return std::string("cut off: not taken, nor anything behind it") +
           (countLost ? "; bands in use becomes 1" : "");
}

} // namespace

void addHead(Listing& listing) {
    const state::Reading& reading = listing.reading;
    int index = 0;
    int offset = 0;
    state::visitHead(reading.head, [&](const char* name, const auto& value) {
        Field field{offset, sizeof value, name, kCaptions[index].label, "", {}, ""};
        const bool taken = index < reading.headFields;
        if (taken) {
            Show{field, kCaptions[index]}(value);
            field.remark = remarkOn(index, reading.head);
            if (index == state::ShadowBandCount && field.json == 0)
                field.value += " (nothing is remembered)";
            if (field.remark.empty() && !isFinite(value))
                field.remark = "not a finite number: the default instead";
        } else {
            field.size = listing.bytes - offset;
            field.value = "-";
            field.remark = cutRemark(index);
        }
        // A cut field is shown, but not what is skipped behind a count that rules it out.
        if (taken || reading.broken)
            listing.fields.push_back(std::move(field));
        offset += static_cast<int>(sizeof value);
        ++index;
        return taken;
    });
}

} // namespace listing
