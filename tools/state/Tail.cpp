#include "tools/state/Values.h"

#include <cstdio>
#include <optional>
#include <utility>

namespace listing {
namespace {

constexpr int kWordBytes = sizeof(std::uint32_t);
constexpr const char* kNoTrailer =
    "no trailer: an early version saved it, it was cut, or it is no state at all";

std::string hex(std::uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", value);
    return text;
}

/// The words behind the parameters, one after another.
class Words {
public:
    Words(Listing& to, const iplug::IByteChunk& from, int start)
        : listing(to), chunk(from), offset(start) {}

    /// The word at the position and the one behind it; nothing where the chunk ends too early.
    [[nodiscard]] std::optional<std::uint32_t> peek() const { return at(offset); }
    [[nodiscard]] std::optional<std::uint32_t> peekBehind() const {
        return at(offset + kWordBytes);
    }
    [[nodiscard]] int position() const { return offset; }

    void add(const char* name, const char* label, std::string value, Json json,
             std::string remark = "") {
        listing.fields.push_back({offset, kWordBytes, name, label, std::move(value),
                                  std::move(json), std::move(remark)});
        offset += kWordBytes;
    }

private:
    [[nodiscard]] std::optional<std::uint32_t> at(int place) const {
        std::uint32_t value = 0;
        return chunk.Get(value, place) < 0 ? std::nullopt : std::optional(value);
    }

    Listing& listing;
    const iplug::IByteChunk& chunk;
    int offset;
};

/// Tag and version. A later version's trailer is shown as such: the plug-in takes its tag for a
/// window width, always an impossible one.
void addTrailer(Words& words, bool found) {
    const auto version = words.peekBehind();
    const std::string remark = found     ? ""
                               : version ? "of a later version: read as if it were not there"
                                         : "cut off: read as if it were not there";
    words.add("trailerTag", "trailer", hex(state::kTrailerTag), hex(state::kTrailerTag), remark);
    if (version)
        words.add("trailerVersion", "trailer version", std::to_string(*version), *version);
}

/// Both sides, taken together or not at all. Returns whether both are in the chunk.
bool addEditorSize(Words& words, bool taken) {
    const std::string range =
        std::to_string(state::kMinEditorPx) + " to " + std::to_string(state::kMaxEditorPx) + " px";
    for (const auto& [name, label] : {std::pair{"editorWidthPx", "window width"},
                                      std::pair{"editorHeightPx", "window height"}}) {
        const auto px = words.peek();
        if (!px)
            return false;
        words.add(name, label, std::to_string(*px) + " px", *px,
                  taken ? "" : "not both sides " + range + ": ignored");
    }
    return true;
}

void addDuckSelf(Words& words, bool taken) {
    if (const auto flag = words.peek())
        words.add("duckSelf", "ducks itself",
                  *flag == 0   ? "off"
                  : *flag == 1 ? "on"
                               : std::to_string(*flag),
                  taken ? Json(*flag == 1) : Json(*flag), taken ? "" : "not 0 or 1: ignored");
}

} // namespace

void addTail(Listing& listing, const iplug::IByteChunk& chunk) {
    const state::Reading& reading = listing.reading;
    Words words(listing, chunk,
                reading.paramsAt + reading.paramCount * static_cast<int>(sizeof(double)));
    const bool trailer = words.peek() == state::kTrailerTag;
    if (trailer)
        addTrailer(words, reading.trailerFound);
    else
        listing.remarks.emplace_back(kNoTrailer);
    if (!loads(listing))
        return;
    const bool behind = reading.trailerFound || !trailer;
    const bool bothSides = behind && addEditorSize(words, reading.hasSize());
    if (bothSides && reading.hasSize() && reading.trailerFound)
        addDuckSelf(words, reading.hasDuckSelf());
    if (!bothSides)
        listing.remarks.emplace_back("not in the state, the present value stays: window size");
    if (!reading.hasDuckSelf())
        listing.remarks.emplace_back("not taken, the present value stays: ducks itself");
    if (listing.bytes > words.position())
        listing.remarks.push_back("the last " + std::to_string(listing.bytes - words.position()) +
                                  " bytes are not looked at");
}

} // namespace listing
