/// CLAP streams over byte vectors, with the short reads and errors that real hosts produce.
#pragma once

#include <clap/stream.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace host {

/// How a stream misbehaves. The defaults are a stream that takes or gives everything at once.
struct StreamLimits {
    static constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

    std::size_t pieceSize = kNone;  ///< most bytes that one call moves
    std::size_t errorAfter = kNone; ///< once this many bytes have moved, calls answer `error`
    std::int64_t error = -1;        ///< what a failing call answers
};

/// Gives the bytes to a reader, then 0 (end of file).
class ByteSource {
public:
    explicit ByteSource(std::vector<std::uint8_t> bytes, StreamLimits limits = {});
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    [[nodiscard]] const clap_istream_t* stream() const { return &clapStream; }

private:
    std::int64_t read(void* buffer, std::uint64_t size);

    std::vector<std::uint8_t> content;
    StreamLimits bounds;
    std::size_t position = 0;
    clap_istream_t clapStream{};
};

/// Collects what a writer gives.
class ByteSink {
public:
    explicit ByteSink(StreamLimits limits = {});
    ByteSink(const ByteSink&) = delete;
    ByteSink& operator=(const ByteSink&) = delete;

    [[nodiscard]] const clap_ostream_t* stream() const { return &clapStream; }
    [[nodiscard]] const std::vector<std::uint8_t>& bytes() const { return content; }

private:
    std::int64_t write(const void* buffer, std::uint64_t size);

    std::vector<std::uint8_t> content;
    StreamLimits bounds;
    clap_ostream_t clapStream{};
};

} // namespace host
