#include "plugin/StateChunk.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

namespace state {
namespace {

constexpr int kValueBytes = sizeof(double);
constexpr int kTrailerBytes = 2 * sizeof(std::uint32_t);

/// The bytes of a value in the chunk; a bool is one.
template <class Value>
int getValue(const iplug::IByteChunk& chunk, Value& value, int position) {
    return chunk.GetBytes(&value, sizeof value, position);
}
int getValue(const iplug::IByteChunk& chunk, bool& flag, int position) {
    std::uint8_t byte = 0;
    const int next = chunk.Get(byte, position);
    flag = byte != 0;
    return next;
}
static_assert(sizeof(bool) == 1);

/// Takes the fields of the record that fit. Returns the position behind them.
int readRecord(const iplug::IByteChunk& chunk, int start, Reading& reading) {
    int position = start;
    bool shortcut = false;
    const bool whole = visitRecord(reading.record, [&](std::string_view name, auto&... values) {
        const auto size = static_cast<int>((sizeof values + ...));
        if (position < 0 || std::int64_t{position} + size > chunk.Size())
            return false;
        ((position = getValue(chunk, values, position)), ...);
        ++reading.fields;
        if (name != "shadowBandCount")
            return true;
        reading.peerCountTaken = true;
        // Deliberate: a peer of more bands than there are has no settings, and the parameters are
        // looked for right behind the number.
        shortcut = !reading.hasPeer();
        return !shortcut;
    });
    reading.broken = !whole && !shortcut;
    return position;
}

/// How many values stand ahead of the trailer: chunks saved with fewer parameters have fewer.
std::optional<int> findTrailer(const iplug::IByteChunk& chunk, int paramsAt) {
    for (int count = 0; count <= kNumParams; ++count) {
        std::uint32_t tag = 0;
        std::uint32_t version = 0;
        const int behindTag = chunk.Get(tag, paramsAt + count * kValueBytes);
        if (behindTag < 0)
            break;
        if (tag == kTrailerTag && chunk.Get(version, behindTag) >= 0 && version <= kTrailerVersion)
            return count;
    }
    return std::nullopt;
}

/// Takes up to `max` values. Returns the position behind them.
int readParams(const iplug::IByteChunk& chunk, int max, Reading& reading) {
    int position = reading.paramsAt;
    while (reading.paramCount < max) {
        double value = 0.0;
        const int next = chunk.Get(value, position);
        if (next < 0)
            break;
        reading.params[static_cast<std::size_t>(reading.paramCount++)] = value;
        position = next;
    }
    return position;
}

/// Takes the words that are as allowed; both sides of the editor, or none. Returns the position
/// behind what was taken.
int readTail(const iplug::IByteChunk& chunk, int start, Reading& reading) {
    Record taken = reading.record;
    int position = start;
    visitTail(taken, [&](const char* /*name*/, std::uint32_t& word, const WordRange& allowed) {
        std::uint32_t read = 0;
        const int next = chunk.Get(read, position);
        const bool mayFollow = reading.trailerFound || reading.words < 2; // nothing but the size
        if (next < 0 || !allowed.Has(read) || !mayFollow)
            return false;
        word = read;
        position = next;
        ++reading.words;
        return true;
    });
    if (reading.words < 2) {
        reading.words = 0;
        return start;
    }
    reading.record = taken;
    return position;
}

} // namespace

void write(iplug::IByteChunk& chunk, const Record& record, const ParamValues& params) {
    visitRecord(record, [&](const char* /*name*/, const auto&... values) {
        (chunk.PutBytes(&values, sizeof values), ...);
        return true;
    });
    chunk.PutBytes(params.data(), sizeof params);
    chunk.Put(kTrailerTag);
    chunk.Put(kTrailerVersion);
    visitTail(record, [&](const char* /*name*/, std::uint32_t word, const WordRange& allowed) {
        chunk.Put(allowed.Has(word) ? word : allowed.fallback);
        return true;
    });
}

Reading read(const iplug::IByteChunk& chunk, int start, const Record& present) {
    Reading reading;
    reading.record = present;
    reading.paramsAt = readRecord(chunk, start, reading);
    if (reading.broken)
        return reading;
    const std::optional<int> ahead = findTrailer(chunk, reading.paramsAt);
    reading.trailerFound = ahead.has_value();
    int position = readParams(chunk, ahead.value_or(kNumParams), reading);
    if (reading.paramCount == 0)
        return reading;
    if (reading.trailerFound)
        position += kTrailerBytes;
    reading.result = readTail(chunk, position, reading);
    return reading;
}

Record adopted(const Reading& reading, const Record& present) {
    Record record = reading.record;
    if (record.own.name[0] == '\0')
        record.own.name = present.own.name;
    record.own.name.back() = record.peer.name.back() = '\0';
    if (constexpr int kCountAt = 1; reading.fields <= kCountAt)
        record.own.bands.count = 1;
    else if (record.own.bands.count < 1 || record.own.bands.count > shm::kBandCount)
        record.own.bands.count = present.own.bands.count;
    if (!reading.hasPeer()) {
        record.peer.settings = present.peer.settings;
        return record;
    }
    const shm::Settings cleared = clearedPeer();
    const auto cure = [](float& value, float fallback) {
        if (!std::isfinite(value))
            value = fallback;
    };
    shm::Settings& peer = record.peer.settings;
    peer.bands.count = std::max(peer.bands.count, 0);
    for (int i = 0; i < shm::kBandCount; ++i) {
        cure(peer.bands[i].loHz, cleared.bands[i].loHz);
        cure(peer.bands[i].hiHz, cleared.bands[i].hiHz);
        cure(peer.bands[i].threshDb, cleared.bands[i].threshDb);
        cure(peer.bands[i].ratio, cleared.bands[i].ratio);
    }
    for (int i = 0; i < shm::Filters::kCount; ++i)
        cure(peer.filters[i], cleared.filters[i]);
    for (int i = 0; i < shm::Controls::kCount; ++i)
        cure(peer.controls[i], cleared.controls[i]);
    return record;
}

shm::Settings clearedPeer() {
    shm::Settings cleared;
    cleared.bands.bands.fill(
        {.loHz = 0.0F, .hiHz = 0.0F, .threshDb = 0.0F, .ratio = shm::kRatio.Initial()});
    return cleared;
}

} // namespace state
