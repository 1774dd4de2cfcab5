/// What the fuzz targets are made of: the fuzzer's bytes as decisions, a demand, the registry.
#pragma once

#include "shm/SegmentLayout.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace fuzz {

/// Ends the run with a finding.
inline void demand(bool holds, const char* what) {
    if (!holds)
        throw std::logic_error(what);
}

/// First come, first served; zeros when they are used up.
class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : next(data), end(data + size) {}

    [[nodiscard]] bool empty() const { return next == end; }
    /// Any value of the type, numbers that are none among them.
    template <class T>
    T any() {
        std::array<std::uint8_t, sizeof(T)> raw{};
        for (std::size_t i = 0; i < raw.size() && next != end; ++i)
            raw[i] = *next++;
        T value;
        std::memcpy(&value, raw.data(), sizeof value);
        return value;
    }
    /// 0 to n - 1.
    unsigned below(unsigned n) {
        return (n <= 256 ? any<std::uint8_t>() : any<std::uint16_t>()) % n;
    }
    int between(int low, int high) { return low + int(below(unsigned(high - low + 1))); }
    bool flip() { return below(2) == 1; }
    template <class T, std::size_t n>
    const T& oneOf(const T (&values)[n]) {
        return values[below(n)];
    }
    /// Up to `most` bytes, as many as the first one says.
    std::vector<std::uint8_t> some(unsigned most) {
        std::vector<std::uint8_t> taken(below(most + 1));
        for (std::uint8_t& byte : taken)
            byte = any<std::uint8_t>();
        return taken;
    }
    std::string text(unsigned most) {
        const auto taken = some(most);
        return {taken.begin(), taken.end()};
    }

private:
    const std::uint8_t* next;
    const std::uint8_t* end;
};

/// The registry that stands now, past all its rules.
class MappedRegistry {
public:
    MappedRegistry() {
        const int file = shm_open(shm::kSegmentName, O_RDWR | O_CLOEXEC, 0);
        demand(file >= 0, "there is a registry");
        address = mmap(nullptr, shm::kSegmentBytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        close(file);
        demand(address != MAP_FAILED, "the registry can be mapped");
    }
    ~MappedRegistry() { munmap(address, shm::kSegmentBytes); }
    MappedRegistry(const MappedRegistry&) = delete;
    MappedRegistry& operator=(const MappedRegistry&) = delete;

    [[nodiscard]] unsigned char* bytes() const { return static_cast<unsigned char*>(address); }
    shm::RegistrySegment* operator->() const { return static_cast<shm::RegistrySegment*>(address); }

private:
    void* address;
};

} // namespace fuzz
