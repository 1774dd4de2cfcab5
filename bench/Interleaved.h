#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

namespace bench {

/// Something to be timed and how often a slice of 10 to 20 µs repeats it.
struct Contender {
    std::function<void()> run;
    int repeats = 1;
};

/// Seconds that a call took, one slice.
inline double slice(const Contender& contender) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    for (int i = 0; i < contender.repeats; ++i)
        contender.run();
    return std::chrono::duration<double>(Clock::now() - start).count() / contender.repeats;
}

/// So many repeats that a slice lasts about 15 µs.
inline Contender calibrated(std::function<void()> run) {
    Contender contender{std::move(run)};
    double best = 1.0;
    for (int i = 0; i < 50; ++i)
        best = std::min(best, slice(contender));
    contender.repeats = std::max(1, static_cast<int>(15e-6 / best));
    return contender;
}

struct Ratio {
    double p10, median, p90;
};

/// The time of a over that of b, slice by slice in turns: the machine's moods hit both alike. Only
/// such ratios mean anything where frequency and neighbours change within seconds.
inline Ratio compare(const Contender& a, const Contender& b, int rounds = 1001) {
    std::vector<double> ratios;
    for (int i = 0; i < rounds; ++i) {
        const double timeOfB = slice(b);
        ratios.push_back(slice(a) / timeOfB);
    }
    std::ranges::sort(ratios);
    const auto at = [&](double part) {
        return ratios[static_cast<std::size_t>(part * (rounds - 1))];
    };
    return {at(0.1), at(0.5), at(0.9)};
}

} // namespace bench
