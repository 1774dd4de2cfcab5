#pragma once

#include "bench/Hash.h"
#include "dsp/DenormalGuard.h"
#include "dsp/SpectralProcessor.h"

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
    FrameSetup(const dsp::Kernels& kernels, double rate, Load frameLoad)
        : processor(std::make_unique<dsp::SpectralProcessor>(kernels)), load(frameLoad) {
        processor->setTimes(10.0, 100.0);
        size = static_cast<int>(processor->reset(rate));
        std::minstd_rand random(1);
        std::uniform_real_distribution<float> noise(-0.5F, 0.5F);
        for (auto* hops : {&processor->hopsL, &processor->hopsR})
            for (auto& hop : *hops)
                for (int i = 0; i < size / 2; ++i)
                    hop[static_cast<std::size_t>(i)] = noise(random);
        std::uniform_real_distribution<double> level(-19.0, 10.0); // thresholds are −20 dB
        for (float& value : peer) {
            const double quieter = load == Load::Quiet ? 40.0 : 0.0;
            value = static_cast<float>(size / 3.14159 *
                                       std::pow(10.0, (level(random) - quieter) / 20.0));
        }
    }

    void run() {
        const double thresholdDb[] = {-20.0, -20.0, -20.0}, ratio[] = {2.0, 4.0, 8.0};
        processor->processBlock(peer.data(), load != Load::Unity, thresholdDb, ratio, 200.0, 5000.0,
                                1.0F, 0.0F, 1e6F);
    }

    [[nodiscard]] std::uint32_t outputHash() const {
        const auto n = static_cast<std::size_t>(size);
        Hash hash;
        hash.add(std::span(processor->ringL).first(4 * n));
        hash.add(std::span(processor->ringR).first(4 * n));
        hash.add(std::span(processor->magnitude).first(n / 2));
        hash.add(std::span(processor->binGain).first(n / 2));
        return hash.value();
    }

    int size = 0;
    std::unique_ptr<dsp::SpectralProcessor> processor;

private:
    Load load;
    std::vector<float> peer = std::vector<float>(dsp::kExchangedBins);
};

constexpr double kRates[] = {22050.0, 48000.0, 96000.0, 192000.0}; ///< of N = 512 … 4096

} // namespace bench
