/// How long something took, and how often.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace faults {

/// A distribution to a tenth of a microsecond, up to 2 ms; what is longer counts as that, and the
/// longest is kept exactly. Filled by one thread while others read.
class Times {
public:
    void add(double us) {
        count(std::min(static_cast<std::size_t>(us * kStepsPerUs), kSteps - 1), 1);
        longestUs = std::max<double>(longestUs, us);
    }
    void add(const Times& other) {
        for (std::size_t step = 0; step < kSteps; ++step)
            count(step, other.counts[step]);
        longestUs = std::max<double>(longestUs, other.longestUs);
    }

    [[nodiscard]] std::uint64_t size() const { return total; }
    [[nodiscard]] double longest() const { return longestUs; }
    /// What that part of them, 0 to 1, does not exceed, µs.
    [[nodiscard]] double quantile(double part) const {
        const auto wanted = static_cast<std::uint64_t>(std::ceil(part * double(total)));
        std::uint64_t seen = 0;
        std::size_t step = 0;
        while (step < kSteps - 1 && (seen += counts[step]) < wanted)
            ++step;
        return std::min<double>(longestUs, double(step + 1) / kStepsPerUs);
    }

private:
    static constexpr double kStepsPerUs = 10.0;
    static constexpr std::size_t kSteps = 20000;

    void count(std::size_t step, std::uint32_t times) {
        // Relaxed, like all here: nothing else is published.
        counts[step].fetch_add(times, std::memory_order_relaxed);
        total.fetch_add(times, std::memory_order_relaxed);
    }

    std::array<std::atomic<std::uint32_t>, kSteps> counts{};
    std::atomic<std::uint64_t> total{};
    std::atomic<double> longestUs{};
};

} // namespace faults
