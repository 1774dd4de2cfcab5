/// A growable run of raw bytes: values are appended at its end and read back at any position.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

namespace iplug {

/// Holds the bytes of a saved state. Values stand as their raw little-endian bytes, without
/// alignment or padding. Appending allocates. [main]
class IByteChunk {
public:
    /// Appends size bytes, in the order they lie in memory.
    void PutBytes(const void* data, std::size_t size) {
        const auto* const first = static_cast<const std::uint8_t*>(data);
        bytes.insert(bytes.end(), first, first + size);
    }

    /// Copies size bytes from a position. Returns the position behind them, or -1, and leaves the
    /// destination alone, when the position is negative or fewer bytes follow it.
    [[nodiscard]] int GetBytes(void* destination, int size, int position) const {
        if (position < 0 || size < 0 || std::int64_t{position} + size > Size())
            return -1;
        std::memcpy(destination, bytes.data() + position, static_cast<std::size_t>(size));
        return position + size;
    }

    /// PutBytes and GetBytes of one value.
    template <class T>
    void Put(const T& value) {
        static_assert(std::is_arithmetic_v<T>);
        PutBytes(&value, sizeof value);
    }
    template <class T>
    [[nodiscard]] int Get(T& value, int position) const {
        static_assert(std::is_arithmetic_v<T> && !std::is_same_v<T, bool>, "a bool has two values");
        return GetBytes(&value, sizeof value, position);
    }

    [[nodiscard]] int Size() const { return static_cast<int>(bytes.size()); }
    [[nodiscard]] const std::uint8_t* Data() const { return bytes.data(); }

private:
    std::vector<std::uint8_t> bytes;
};

} // namespace iplug
