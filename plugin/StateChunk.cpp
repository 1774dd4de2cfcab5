#include "plugin/StateChunk.h"

#include <algorithm>
#include <utility>

namespace state {
namespace {

constexpr int kValueBytes = sizeof(double);
constexpr int kTrailerBytes = 2 * sizeof(std::uint32_t);

bool isEditorSize(std::uint32_t px) { return px >= kLeastEditorPx && px <= kMostEditorPx; }

/// Takes the fields of the head that fit. Returns the position behind them.
int readHead(const iplug::IByteChunk& chunk, int start, Reading& reading) {
    int position = start;
    const bool whole = visitHead(reading.head, [&](const char* /*name*/, auto& field) {
        const int next = chunk.GetBytes(&field, sizeof field, position);
        if (next < 0)
            return false;
        position = next;
        ++reading.headFields;
        // Deliberate: a shadow of more bands than there are has no record, and the parameters
        // are looked for right behind its count.
        return reading.headFields != ShadowBandCount + 1 || reading.head.shadowBandCount <= 3;
    });
    const bool shortcut =
        !whole && reading.headFields == ShadowBandCount + 1 && reading.head.shadowBandCount > 3;
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

/// Takes up to `most` values. Returns the position behind them.
int readParams(const iplug::IByteChunk& chunk, int most, Reading& reading) {
    int position = reading.paramsAt;
    while (reading.paramCount < most) {
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

void write(iplug::IByteChunk& chunk, const Head& head, const ParamValues& params,
           const Tail& tail) {
    visitHead(head, [&](const char* /*name*/, const auto& field) {
        chunk.PutBytes(&field, sizeof field);
        return true;
    });
    chunk.PutBytes(params.data(), sizeof params);
    chunk.Put(kTrailerTag);
    chunk.Put(kTrailerVersion);
    chunk.Put(isEditorSize(tail.editorWidthPx) ? tail.editorWidthPx : 960U);
    chunk.Put(isEditorSize(tail.editorHeightPx) ? tail.editorHeightPx : 600U);
    chunk.Put(std::uint32_t{tail.duckSelf ? 1U : 0U});
}

Reading read(const iplug::IByteChunk& chunk, int start) {
    Reading reading;
    reading.paramsAt = readHead(chunk, start, reading);
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

} // namespace state
