#include "host/ByteStream.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace host {
namespace {

/// How many of `wanted` bytes the next call moves after `moved` earlier ones; 0 at the error.
std::size_t nextPiece(const StreamLimits& limits, std::size_t moved, std::uint64_t wanted) {
    const std::size_t untilError = limits.errorAfter - std::min(moved, limits.errorAfter);
    return std::min({static_cast<std::size_t>(wanted), limits.pieceSize, untilError});
}

} // namespace

ByteSource::ByteSource(std::vector<std::uint8_t> bytes, StreamLimits limits)
    : content(std::move(bytes)), bounds(limits) {
    clapStream.ctx = this;
    clapStream.read = [](const clap_istream_t* stream, void* buffer,
                         std::uint64_t size) -> std::int64_t {
        return static_cast<ByteSource*>(stream->ctx)->read(buffer, size);
    };
}

std::int64_t ByteSource::read(void* buffer, std::uint64_t size) {
    if (position >= bounds.errorAfter)
        return bounds.error;
    const std::size_t piece =
        std::min(nextPiece(bounds, position, size), content.size() - position);
    if (piece > 0)
        std::memcpy(buffer, content.data() + position, piece);
    position += piece;
    return static_cast<std::int64_t>(piece);
}

ByteSink::ByteSink(StreamLimits limits) : bounds(limits) {
    clapStream.ctx = this;
    clapStream.write = [](const clap_ostream_t* stream, const void* buffer,
                          std::uint64_t size) -> std::int64_t {
        return static_cast<ByteSink*>(stream->ctx)->write(buffer, size);
    };
}

std::int64_t ByteSink::write(const void* buffer, std::uint64_t size) {
    if (content.size() >= bounds.errorAfter)
        return bounds.error;
    const std::size_t piece = nextPiece(bounds, content.size(), size);
    const auto* first = static_cast<const std::uint8_t*>(buffer);
    content.insert(content.end(), first, first + piece);
    return static_cast<std::int64_t>(piece);
}

} // namespace host
