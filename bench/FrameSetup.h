#pragma once

#include "bench/Hash.h"
#include "dsp/DenormalGuard.h"
#include "dsp/SpectralProcessor.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <span>
#include <vector>

namespace bench {

enum class Load { Reduced, Unity, Quiet }; ///< every bin above its threshold; no peer; a peer below

/// A processor in the middle of a stream of noise, to run the same frame again and again.
class FrameSetup {
public:
    FrameSetup(const dsp::Kernels& kernels, double rate, Load load)
        : processor(std::make_unique<dsp::SpectralProcessor>(kernels)) {
        size = static_cast<int>(processor->reset(rate));
        std::minstd_rand random(1);
        std::uniform_real_distribution<double> noise(-0.5, 0.5);
        left.resize(static_cast<std::size_t>(size));
        right = left;
        for (auto* channel : {&left, &right})
            std::ranges::generate(*channel, [&] { return noise(random); });
        std::uniform_real_distribution<double> level(-19.0, 10.0); // thresholds are −20 dB
        for (float& value : peer) {
            const double quieter = load == Load::Quiet ? 40.0 : 0.0;
            value = static_cast<float>(size / 3.14159 *
                                       std::pow(10.0, (level(random) - quieter) / 20.0));
        }
        settings = {.peerMagnitude = peer.data(),
                    .peerValid = load != Load::Unity,
                    .reduction = {.thresholdDb = {-20.0, -20.0, -20.0},
                                  .ratio = {2.0, 4.0, 8.0},
                                  .hpHz = 0.0,
                                  .lpHz = 1e6}};
        outputHash(); // streams N samples: both hops are full then
    }

    void run() { processor->processBlock(settings); }

    /// Of what the next N samples, the noise again, bring.
    std::uint32_t outputHash() {
        auto outL = left, outR = right;
        processor->stream(settings, left.data(), right.data(), outL.data(), outR.data(), size);
        const auto bins = static_cast<std::size_t>(size / 2);
        Hash value;
        for (const auto* out : {&outL, &outR})
            for (const double sample : *out)
                value.add(std::bit_cast<std::uint32_t>(static_cast<float>(sample)));
        value.add(std::span(processor->magnitude).first(bins));
        value.add(std::span(processor->binGain).first(bins));
        return value.value();
    }

    int size = 0;

private:
    std::unique_ptr<dsp::SpectralProcessor> processor;
    std::vector<double> left, right;
    std::vector<float> peer = std::vector<float>(dsp::kExchangedBins);
    dsp::FrameSettings settings;
};

constexpr double kRates[] = {22050.0, 48000.0, 96000.0, 192000.0}; ///< of N = 512 … 4096

} // namespace bench
