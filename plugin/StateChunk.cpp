#include "plugin/StateChunk.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

namespace state {
namespace {

constexpr int kValueBytes = sizeof(double);
constexpr int kTrailerBytes = 2 * sizeof(std::uint32_t);

bool isEditorSize(std::uint32_t px) { return px >= kMinEditorPx && px <= kMaxEditorPx; }

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

/// Takes editor size and duck-self flag. Returns the position behind what was taken.
int readTail(const iplug::IByteChunk& chunk, int position, Reading& reading) {
    Tail tail;
    const int behindWidth = chunk.Get(tail.editorWidthPx, position);
    const int behindSize = behindWidth < 0 ? -1 : chunk.Get(tail.editorHeightPx, behindWidth);
    if (behindSize < 0 || !isEditorSize(tail.editorWidthPx) || !isEditorSize(tail.editorHeightPx))
        return position;
    reading.size = tail;
    std::uint32_t flag = 0;
    const int behindFlag = reading.trailerFound ? chunk.Get(flag, behindSize) : -1;
    if (behindFlag < 0 || flag > 1)
        return behindSize;
    reading.duckSelf = flag == 1;
    return behindFlag;
}

} // namespace

void write(iplug::IByteChunk& chunk, const Record& record, const ParamValues& params,
           const Tail& tail) {
    visitRecord(record, [&](const char* /*name*/, const auto&... values) {
        (chunk.PutBytes(&values, sizeof values), ...);
        return true;
    });
    chunk.PutBytes(params.data(), sizeof params);
    chunk.Put(kTrailerTag);
    chunk.Put(kTrailerVersion);
    chunk.Put(isEditorSize(tail.editorWidthPx) ? tail.editorWidthPx : 960U);
    chunk.Put(isEditorSize(tail.editorHeightPx) ? tail.editorHeightPx : 600U);
    chunk.Put(std::uint32_t{tail.duckSelf ? 1U : 0U});
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
    if (record.instanceName[0] == '\0')
        record.instanceName = present.instanceName;
    record.instanceName.back() = record.peerName.back() = '\0';
    if (constexpr int kCountAt = 1; reading.fields <= kCountAt)
        record.bands.count = 1;
    else if (record.bands.count < 1 || record.bands.count > shm::kBandCount)
        record.bands.count = present.bands.count;
    if (!reading.hasPeer()) {
        record.peer = present.peer;
        return record;
    }
    const shm::Settings cleared = clearedPeer();
    const auto cure = [](float& value, float fallback) {
        if (!std::isfinite(value))
            value = fallback;
    };
    shm::Settings& peer = record.peer;
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
