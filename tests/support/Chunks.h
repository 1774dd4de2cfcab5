/// Saved states as bytes, at their documented offsets: nothing here comes from the code under test.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace support {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kCountAt = 64, kPeerNameAt = 95, kShadowAt = 159, kParamsAt = 234,
                      kDuckAt = 362;

/// A state that tests/data/make-chunks wrote.
inline Bytes chunkFile(const std::string& name) {
    std::ifstream file(TD_TEST_DATA "/" + name + ".chunk", std::ios::binary);
    if (!file)
        throw std::runtime_error("no chunk " + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

template <class T>
T get(const Bytes& chunk, std::size_t offset) {
    T value{};
    std::memcpy(&value, chunk.data() + offset, sizeof value);
    return value;
}

template <class T>
void put(Bytes& chunk, std::size_t offset, const T& value) {
    std::memcpy(chunk.data() + offset, &value, sizeof value);
}

inline double paramIn(const Bytes& chunk, std::size_t index) {
    return get<double>(chunk, kParamsAt + 8 * index);
}

} // namespace support
