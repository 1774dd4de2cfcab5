#pragma once

#include <bit>
#include <cstdint>
#include <span>

namespace bench {

/// A number that changes with any bit of any sample (FNV-1a): a faster wrong answer shows.
class Hash {
public:
    void add(std::uint32_t word) { state = (state ^ word) * 16777619U; }
    void add(std::span<const float> samples) {
        for (const float sample : samples)
            add(std::bit_cast<std::uint32_t>(sample));
    }
    [[nodiscard]] std::uint32_t value() const { return state; }

private:
    std::uint32_t state = 2166136261U;
};

} // namespace bench
