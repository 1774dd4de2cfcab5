/// bench-peers: the plug-in file beside other effects that one might insert instead, at work in one
/// process on the same sound. JSON to standard output.
#include "bench/plugin/Lv2Effect.h"
#include "bench/plugin/Player.h"
#include "host/PrivateShm.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>

namespace {

using bench::kLapFrames;

constexpr double kRate = 48000.0;
constexpr int kRounds = 41;
constexpr double kSliceNs = 3e6; ///< at least; the clock itself costs under 1000 ns

/// Somebody who plays blocks of the sound from a place on; a pair of ours counts as two.
struct Contender {
    std::string name;
    std::function<void(std::uint32_t at, std::uint32_t frames)> block;
    std::function<void(bench::Hash&, std::uint32_t frames)> addOutput;
    std::vector<double> blockNs{}; ///< of each round
    int instances = 1;
    int lapsPerSlice = 1;
};

/// CPU time of the whole process, ns: other programs do not count, helper threads do.
double processNs() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

double playLaps(const Contender& contender, int laps, std::uint32_t frames) {
    const double start = processNs();
    for (int lap = 0; lap < laps; ++lap)
        for (std::uint32_t at = 0; at < kLapFrames; at += frames)
            contender.block(at, frames);
    return processNs() - start;
}

/// Warms up, hashes a lap of output and finds how many laps fill a slice.
std::uint32_t prepare(Contender& contender, std::uint32_t frames) {
    playLaps(contender, 8, frames);
    bench::Hash hash;
    for (std::uint32_t at = 0; at < kLapFrames; at += frames) {
        contender.block(at, frames);
        contender.addOutput(hash, frames);
    }
    contender.lapsPerSlice = 1;
    while (playLaps(contender, contender.lapsPerSlice, frames) < kSliceNs)
        contender.lapsPerSlice *= 2;
    contender.blockNs.clear();
    return hash.value();
}

nlohmann::json quantiles(std::vector<double> values) {
    std::ranges::sort(values);
    const auto at = [&](double part) {
        return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))];
    };
    return {{"p10", at(0.1)}, {"median", at(0.5)}, {"p90", at(0.9)}};
}

/// One figure a contender; the first one is ours, `ratio` is ours over the other's, round by round.
nlohmann::json compare(std::vector<Contender>& contenders, std::uint32_t frames) {
    auto figures = nlohmann::json::array();
    for (Contender& contender : contenders)
        figures.push_back(
            {{"name", contender.name}, {"frames", frames}, {"hash", prepare(contender, frames)}});
    for (int round = 0; round < kRounds; ++round)
        for (Contender& contender : contenders) {
            const double ns = playLaps(contender, contender.lapsPerSlice, frames);
            contender.blockNs.push_back(ns * frames / kLapFrames / contender.lapsPerSlice /
                                        contender.instances);
        }
    for (std::size_t i = 0; i < contenders.size(); ++i) {
        const std::vector<double>& theirs = contenders[i].blockNs;
        std::vector<double> ratios;
        std::ranges::transform(contenders[0].blockNs, theirs, std::back_inserter(ratios),
                               std::divides());
        figures[i]["block_ns"] = quantiles(theirs);
        figures[i]["core_percent"] =
            quantiles(theirs)["median"].get<double>() * kRate / frames / 1e7;
        figures[i]["ratio"] = quantiles(ratios);
    }
    return figures;
}

struct EffectRow {
    const char* name;
    std::string uri;
    bench::Lv2Effect::Controls controls;
};

// clang-format off
/// All of them at work; the multiband with three bands at our splits, keyed from outside, without
/// its spectrum analysis.
const std::vector<EffectRow> kEffects = [] {
    const std::string lsp = "http://lsp-plug.in/plugins/lv2/";
    const bench::Lv2Effect::Controls multiband = {
        {"cbe_2", 1}, {"sf_2", 200}, {"cbe_4", 1}, {"sf_4", 5000}, {"cbe_6", 0},
        {"ife_l", 0}, {"ofe_l", 0}, {"ife_r", 0}, {"ofe_r", 0},
        {"sce_0", 1}, {"cr_0", 4}, {"al_0", 0.001F}, {"sce_2", 1}, {"cr_2", 4}, {"al_2", 0.001F},
        {"sce_4", 1}, {"cr_4", 4}, {"al_4", 0.001F}, {"mode", 0}};
    auto modern = multiband;
    modern.back().second = 1;
    return std::vector<EffectRow>{
        {"LSP side-chain multiband, classic", lsp + "sc_mb_compressor_stereo", multiband},
        {"LSP side-chain multiband, modern", lsp + "sc_mb_compressor_stereo", modern},
        {"LSP side-chain compressor", lsp + "sc_compressor_stereo",
         {{"sct", 2}, {"al", 0.001F}, {"cr", 4}}},
        {"Calf side-chain compressor", "http://calf.sourceforge.net/plugins/SidechainCompressor",
         {{"sc_route", 1}, {"threshold", 0.001F}, {"ratio", 4}}},
        {"ZamMultiCompX2", "urn:zamaudio:ZaMultiCompX2",
         {{"toggle1", 1}, {"toggle2", 1}, {"toggle3", 1},
          {"thr1", -60}, {"thr2", -60}, {"thr3", -60}}},
        {"x42 darc", "http://gareus.org/oss/lv2/darc#stereo",
         {{"threshold", -50}, {"Ratio", 0.75F}}}};
}();
// clang-format on

/// A pair: each ducks by what the other publishes.
Contender ourselves(bench::Rack& rack) {
    const auto block = [&rack](std::uint32_t at, std::uint32_t frames) {
        for (const std::size_t player : {0U, 1U})
            rack[player].block(at, frames);
    };
    const auto addOutput = [&rack](bench::Hash& hash, std::uint32_t frames) {
        for (const std::size_t player : {0U, 1U})
            for (const std::uint32_t channel : {0U, 1U})
                hash.add(rack[player].output(channel).first(frames));
    };
    return {.name = "TessellaDuckwork", .block = block, .addOutput = addOutput, .instances = 2};
}

Contender other(const char* name, bench::Lv2Effect& effect, const bench::Sound& own,
                const bench::Sound& sideChain) {
    return {name,
            [&](std::uint32_t at, std::uint32_t frames) {
                float* const channels[] = {own.channel(0, at), own.channel(1, at),
                                           sideChain.channel(0, at), sideChain.channel(1, at)};
                effect.block(channels, frames);
            },
            [&](bench::Hash& hash, std::uint32_t frames) {
                for (const auto& output : effect.outputs())
                    hash.add(std::span(output).first(frames));
            }};
}

void run() {
    const std::unique_ptr<LilvWorld, decltype(&lilv_world_free)> world(lilv_world_new(),
                                                                       lilv_world_free);
    lilv_world_load_all(world.get());
    const bench::Sound own(1), sideChain(2);
    bench::Rack rack(2);
    rack.setPaired(true);
    std::vector<Contender> contenders{ourselves(rack)};
    std::vector<std::unique_ptr<bench::Lv2Effect>> effects;
    for (const EffectRow& row : kEffects) {
        effects.push_back(std::make_unique<bench::Lv2Effect>(
            world.get(), row.uri.c_str(), row.controls, kRate, bench::kMaxBlock));
        contenders.push_back(other(row.name, *effects.back(), own, sideChain));
    }
    auto figures = nlohmann::json::array();
    for (const std::uint32_t frames : {32U, 64U, 256U, 1024U}) {
        rack.start(2, kRate, frames);
        for (const auto& figure : compare(contenders, frames))
            figures.push_back(figure);
    }
    std::puts(nlohmann::json{{"rounds", kRounds}, {"figures", figures}}.dump(1).c_str());
}

} // namespace

int main() {
    try {
        if (!host::enterPrivateShm())
            throw std::runtime_error("no private registry: run as root or allow user namespaces");
        run();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench-peers: %s\n", error.what());
        return 1;
    }
}
