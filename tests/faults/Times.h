/// How long something took, and how often.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>

namespace faults {

/// A distribution to a tenth of a microsecond, up to 2 ms; what is longer counts as that, and the
/// longest is kept exactly. Filled by one thread while others read.
class Times {
public:
    void add(double us) {
        // Relaxed, like all here: nothing else is published.
        counts[std::min(static_cast<std::size_t>(us * kStepsPerUs), counts.size() - 1)].fetch_add(
            1, std::memory_order_relaxed);
        longestUs = std::max<double>(longestUs, us);
    }
    void add(const Times& other) {
        for (std::size_t step = 0; step < counts.size(); ++step)
            counts[step].fetch_add(other.counts[step], std::memory_order_relaxed);
        longestUs = std::max<double>(longestUs, other.longestUs);
    }

    [[nodiscard]] std::uint64_t size() const {
        return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
    }
    [[nodiscard]] double longest() const { return longestUs; }
    /// What that part of them, 0 to 1, does not exceed, µs.
    [[nodiscard]] double quantile(double part) const {
        auto left = static_cast<std::int64_t>(std::ceil(part * double(size())));
        std::size_t step = 0;
        while (step < counts.size() - 1 && (left -= counts[step]) > 0)
            ++step;
        return std::min<double>(longestUs, double(step + 1) / kStepsPerUs);
    }

private:
    static constexpr double kStepsPerUs = 10.0;

    std::array<std::atomic<std::uint32_t>, 20000> counts{};
    std::atomic<double> longestUs{};
};

} // namespace faults
