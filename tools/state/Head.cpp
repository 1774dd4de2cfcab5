#include "tools/state/Values.h"

#include <string_view>
#include <type_traits>

namespace listing {
namespace {

/// How people know a field of the head, and its unit.
struct Caption {
    const char* label;
    const char* unit;
};

// clang-format off
constexpr Caption kCaptions[] = {
    {"name of this instance", ""}, {"bands in use", ""}, {"band edges", "Hz"}, {"bands on", ""},
    {"name of the peer", ""},
    {"peer: bands", ""},       {"peer: band edges", "Hz"}, {"peer: thresholds", "dB"},
    {"peer: ratios", ":1"},    {"peer: bands on", ""},     {"peer: high-pass", "Hz"},
    {"peer: low-pass", "Hz"},  {"peer: attack", "ms"},     {"peer: release", "ms"},
    {"peer: makeup", "dB"},
};
// clang-format on

/// Text and JSON of one field's values; edges in pairs, as they belong together.
class Show {
public:
    Show(Field& shown, const char* unitBehind, bool inPairs)
        : field(shown), unit(unitBehind), pairs(inPairs) {}

    template <class First, class... Rest>
    void all(const First& first, const Rest&... rest) {
        if constexpr (sizeof...(rest) == 0) {
            field.value = withUnit(text(first), unit);
            field.json = json(first);
        } else {
            add(first);
            (add(rest), ...);
            field.value = withUnit(field.value, unit);
        }
    }

private:
    template <class Value>
    void add(const Value& value) {
        field.value += count == 0 ? "" : pairs && count % 2 == 1 ? " to " : ", ";
        field.value += text(value);
        field.json.push_back(json(value));
        ++count;
    }

    static std::string text(const shm::Name& name) {
        return '"' + terminal::printable(fixedText(name)) + '"';
    }
    static std::string text(std::int32_t value) { return std::to_string(value); }
    static std::string text(float value) { return numberText(value); }
    static std::string text(bool on) { return on ? "on" : "off"; }
    static Json json(const shm::Name& name) { return std::string(fixedText(name)); }
    static Json json(std::int32_t value) { return value; }
    static Json json(float value) { return numberJson(value); }
    static Json json(bool on) { return on; }

    Field& field;
    const char* unit;
    bool pairs;
    int count = 0;
};

template <class Value>
bool isFinite(const Value& value) {
    if constexpr (std::is_same_v<Value, float>)
        return std::isfinite(value);
    else
        return true;
}

/// What the plug-in does with an odd value in this field.
std::string remarkOn(std::string_view field, const state::Record& record) {
    if (field == "instanceName" && record.own.name[0] == '\0')
        return "empty: the present name stays";
    if (field == "instanceName" || field == "peerName")
        return hasEnd(field == "peerName" ? record.peer.name : record.own.name)
                   ? ""
                   : "has no end: cut after 63 bytes";
    if (field == "activeBandCount")
        return record.own.bands.count >= 1 && record.own.bands.count <= shm::kBandCount
                   ? ""
                   : "not 1 to 3: ignored, the present number stays";
    if (field == "bandFreqs")
        return record.own.bands.EdgesUsable()
                   ? ""
                   : "not usable: taken from FreqLow and FreqHigh instead";
    if (field == "shadowBandCount" && record.peer.settings.bands.count > shm::kBandCount)
        return "above 3: ignored with all of the peer's settings";
    if (field == "shadowBandCount" && record.peer.settings.bands.count < 0)
        return "below 0: taken as 0, nothing is remembered";
    return "";
}

std::string cutRemark(int index) {
    constexpr int kCountAt = 1;
    return std::string("cut off: not taken, nor anything behind it") +
           (index <= kCountAt ? "; bands in use becomes 1" : "");
}

} // namespace

void addHead(Listing& listing) {
    const state::Reading& reading = listing.reading;
    int index = 0;
    int offset = 0;
    state::visitRecord(reading.record, [&](const char* name, const auto&... values) {
        constexpr auto kSize = static_cast<int>((sizeof values + ...));
        const auto& [label, unit] = kCaptions[index];
        Field field{offset, kSize, name, label, "", {}, ""};
        const bool taken = index < reading.fields;
        if (taken) {
            const bool pairs = sizeof...(values) == 2 * std::size_t{shm::kBandCount};
            Show(field, unit, pairs).all(values...);
            field.remark = remarkOn(name, reading.record);
            if (std::string_view(name) == "shadowBandCount" && field.json == 0)
                field.value += " (nothing is remembered)";
            if (field.remark.empty() && !(isFinite(values) && ...))
                field.remark = "not a finite number: the default instead";
        } else {
            field.size = listing.bytes - offset;
            field.value = "-";
            field.remark = cutRemark(index);
        }
        // A cut field is shown, but not what is skipped behind a count that rules it out.
        if (taken || reading.broken)
            listing.fields.push_back(std::move(field));
        offset += kSize;
        ++index;
        return taken;
    });
}

} // namespace listing
