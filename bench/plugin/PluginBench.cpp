/// bench-plugin: what a block costs, the whole plug-in file with adapter and registry.
#include "bench/plugin/Player.h"
#include "host/PrivateShm.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <exception>
#include <optional>

namespace {

constexpr std::size_t kMaxPlayers = 64;

/// Made once: an instance takes up to 100 ms to go.
std::optional<bench::Rack> gRack;

/// Plays a lap an iteration. `block_ns` is one instance's block, `core_percent` all of them; the
/// label is a hash of the output.
void playBlocks(benchmark::State& state) {
    const auto players = static_cast<std::size_t>(state.range(0));
    const bool paired = state.range(1) != 0;
    const auto frames = static_cast<std::uint32_t>(state.range(2));
    const auto rate = static_cast<double>(state.range(3));
    gRack->setPaired(paired);
    // A single one hears a peer that played before and is silent by now.
    const auto hash = gRack->start(std::max<std::size_t>(players, paired ? 2 : 1), rate, frames);
    while (state.KeepRunning())
        gRack->playLap(players, frames);

    using benchmark::Counter;
    const auto kTimePerUnit = Counter::kIsIterationInvariantRate | Counter::kInvert;
    const double blocks = static_cast<double>(players) * bench::kLapFrames / frames;
    state.counters["block_ns"] = Counter(blocks * 1e-9, kTimePerUnit);
    state.counters["core_percent"] = Counter(bench::kLapFrames / rate / 100.0, kTimePerUnit);
    char text[9];
    std::snprintf(text, sizeof text, "%08x", hash);
    state.SetLabel(text);
}

double quantile(std::vector<double> values, double part) {
    std::sort(values.begin(), values.end());
    const double last = static_cast<double>(values.size() - 1);
    return values[static_cast<std::size_t>(std::lround(part * last))];
}

void registerBenchmarks() {
    const std::vector<std::string> names{"instances", "paired", "frames", "rate"};
    const auto common = [&](const char* name) {
        return benchmark::RegisterBenchmark(name, playBlocks)
            ->ArgNames(names)
            ->MeasureProcessCPUTime()
            ->Unit(benchmark::kMicrosecond)
            ->ComputeStatistics("p10", [](const auto& all) { return quantile(all, 0.1); })
            ->ComputeStatistics("p90", [](const auto& all) { return quantile(all, 0.9); });
    };
    common("block")->ArgsProduct(
        {{1, 2, 16, 64}, {0, 1}, {1, 32, 64, 256, 1024}, {48000, 96000, 192000}});
    // For the plots: further numbers of instances, and a size for each of the four transforms.
    common("instances")->ArgsProduct({{1, 2, 4, 8, 16, 32, 64}, {0}, {64}, {48000}});
    common("transform")->ArgsProduct({{1}, {1}, {1024}, {24000, 48000, 96000, 192000}});
}

} // namespace

int main(int argc, char** argv) {
    try {
        benchmark::Initialize(&argc, argv);
        if (benchmark::ReportUnrecognizedArguments(argc, argv) || !host::enterPrivateShm())
            return 1;
        gRack.emplace(kMaxPlayers);
        registerBenchmarks();
        benchmark::RunSpecifiedBenchmarks();
        gRack.reset();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench-plugin: %s\n", error.what());
        return 1;
    }
}
