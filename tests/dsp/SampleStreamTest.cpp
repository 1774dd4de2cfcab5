#include "dsp/SampleStream.h"
#include "dsp/DenormalGuard.h"
#include "tests/support/ReferenceDucker.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <random>

namespace {

using Samples = std::vector<double>;
using Processor = std::unique_ptr<dsp::SpectralProcessor>;

Processor prepared(double sampleRate) {
    auto processor = std::make_unique<dsp::SpectralProcessor>();
    processor->reset(sampleRate);
    return processor;
}

Samples noise(std::size_t n, unsigned seed, double amplitude = 0.5) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> uniform(-amplitude, amplitude);
    Samples samples(n);
    for (double& sample : samples)
        sample = static_cast<float>(uniform(random));
    return samples;
}

/// Streams in place in blocks whose lengths blockSize() gives.
template <class BlockSize>
void stream(dsp::SpectralProcessor& processor, const dsp::FrameSettings& settings, Samples& left,
            Samples& right, BlockSize blockSize) {
    for (std::size_t at = 0; at < left.size();) {
        const std::size_t n = std::min<std::size_t>(blockSize(), left.size() - at);
        double* const l = left.data() + at;
        double* const r = right.data() + at;
        dsp::streamBlock(processor, settings, l, r, l, r, static_cast<int>(n));
        at += n;
    }
}

TEST(SampleStream, DelaysBy2NAtUnityInAnyBlocks) {
    const auto in = std::array{noise(20000, 1), noise(20000, 2)};
    dsp::FrameSettings settings;
    settings.outputGain = 0.5F;
    std::mt19937 random(5);
    for (const double sampleRate : {22050.0, 48000.0, 96000.0, 192000.0}) {
        const Processor whole = prepared(sampleRate);
        auto expected = in;
        stream(*whole, settings, expected[0], expected[1], [] { return 20000U; });
        const auto size = static_cast<std::size_t>(whole->fftSize);
        for (std::size_t channel = 0; channel < 2; ++channel) {
            for (std::size_t i = 0; i < 20000; ++i) {
                const double delayed = i < 2 * size ? 0.0 : 0.5 * in[channel][i - 2 * size];
                ASSERT_NEAR(expected[channel][i], delayed, i < size * 3 / 2 ? 0.0 : 1e-6) << i;
            }
        }
        for (const unsigned blockSize : {1U, 7U, 64U, 4096U, 0U}) {
            auto out = in;
            stream(*prepared(sampleRate), settings, out[0], out[1],
                   [&]() -> std::size_t { return blockSize > 0 ? blockSize : random() % 5000; });
            ASSERT_EQ(out, expected) << sampleRate << " Hz, blocks of " << blockSize;
        }
    }
}

TEST(SampleStream, MayAliasItsBuffersAndRunInMono) {
    const auto in = std::array{noise(6000, 1), noise(6000, 2)};
    auto expected = in;
    stream(*prepared(48000.0), {}, expected[0], expected[1], [] { return 600U; });

    auto crossed = in;
    double *const l = crossed[0].data(), *const r = crossed[1].data();
    dsp::streamBlock(*prepared(48000.0), {}, l, r, r, l, 6000);
    EXPECT_EQ(crossed[1], expected[0]);
    EXPECT_EQ(crossed[0], expected[1]);

    for (const double* right : {static_cast<const double*>(nullptr), in[0].data()}) {
        Samples mono(6000);
        const Processor processor = prepared(48000.0);
        dsp::streamBlock(*processor, {}, in[0].data(), right, mono.data(), nullptr, 6000);
        EXPECT_EQ(mono, expected[0]);
        EXPECT_EQ(processor->ringL, processor->ringR);
    }

    const auto fresh = std::make_unique<dsp::SpectralProcessor>(); // never reset
    dsp::streamBlock(*fresh, {}, l, r, l, r, 6000);
    EXPECT_EQ(crossed[0], Samples(6000, 0.0));
}

TEST(SampleStream, SurvivesHostileInputAndLongRuns) {
    const double infinity = std::numeric_limits<double>::infinity();
    const Processor processor = prepared(192000.0);
    dsp::FrameSettings settings;
    settings.outputGain = 16.0F;
    for (const double odd : {std::nan(""), infinity, -infinity, 1e300, 5e-310}) {
        Samples left(12288, odd), right = left;
        stream(*processor, settings, left, right, [] { return 999U; });
        for (std::size_t i = 0; i < left.size(); ++i)
            ASSERT_TRUE(std::isfinite(left[i]) && std::isfinite(right[i])) << odd << " at " << i;
        for (const float value : processor->magnitude)
            ASSERT_TRUE(std::isfinite(value)) << odd;
    }

    Samples quiet(12288, 0.0), left = noise(quiet.size(), 3), right = quiet;
    stream(*processor, settings, quiet, right, [] { return 512U; });
    processor->samplesSeen = std::numeric_limits<std::int32_t>::max() - 100; // after twelve hours
    const Samples in = left;
    stream(*processor, settings, left, right, [] { return 512U; });
    for (std::size_t i = 8192; i < left.size(); ++i)
        ASSERT_NEAR(left[i], 16.0 * in[i - 8192], 2e-5) << i;
}

struct ModelCase {
    double sampleRate, attackMs, releaseMs, hpHz, lpHz;
};

class AgainstModel : public testing::TestWithParam<ModelCase> {};

/// A peer that is loud, silent, loud and for some blocks gone: attack and release both run.
TEST_P(AgainstModel, StreamsTheSame) {
    const auto [sampleRate, attackMs, releaseMs, hpHz, lpHz] = GetParam();
    const support::ReferenceDucker::Settings modelSettings{{-50.0, -55.0, -60.0},
                                                           {2.0, 4.0, 20.0},
                                                           312.5,
                                                           5001.0,
                                                           hpHz,
                                                           lpHz,
                                                           attackMs,
                                                           releaseMs,
                                                           1.5};
    support::ReferenceDucker model(sampleRate), peer(sampleRate);
    const Processor processor = prepared(sampleRate);
    processor->setTimes(attackMs, releaseMs);
    std::array<float, 2048> peerBins{};
    dsp::FrameSettings settings{
        peerBins.data(), true, modelSettings.thresholdDb, modelSettings.ratio,     312.5,
        5001.0,          1.5F, static_cast<float>(hpHz),  static_cast<float>(lpHz)};
    constexpr std::size_t kBlock = 300;
    std::array<float, 3> deepestDb{};
    std::array<float, 2048> magnitude{};
    for (unsigned block = 0; block < 160; ++block) {
        auto left = noise(kBlock, block, 0.3), right = noise(kBlock, block + 1000, 0.3);
        for (std::size_t i = 0; i < kBlock; ++i)
            left[i] += 0.6 * std::sin(0.1 * static_cast<double>(block * kBlock + i));
        const auto other = noise(kBlock, block + 2000, block / 40 % 2 == 0 ? 0.9 : 0.0);
        Samples expectedL(kBlock), expectedR(kBlock);
        peer.process({}, {}, other, other, expectedL, expectedR);
        std::copy(peer.magnitude().begin(), peer.magnitude().end(), peerBins.begin());
        settings.peerValid = block % 50 < 45;
        model.process(modelSettings,
                      settings.peerValid ? std::span(peer.magnitude()) : std::span<const double>(),
                      left, right, expectedL, expectedR);
        stream(*processor, settings, left, right, [] { return kBlock; });
        for (std::size_t i = 0; i < kBlock; ++i)
            ASSERT_TRUE(std::abs(left[i] - expectedL[i]) < 1e-5 &&
                        std::abs(right[i] - expectedR[i]) < 1e-5)
                << "block " << block << ", sample " << i;
        ASSERT_EQ(processor->readMagnitude(magnitude), int(model.magnitude().size()));
        for (std::size_t bin = 0; bin < model.magnitude().size(); ++bin)
            ASSERT_NEAR(magnitude[bin], model.magnitude()[bin], 1e-3) << bin;
        deepestDb = {std::min(deepestDb[0], processor->grLowDb),
                     std::min(deepestDb[1], processor->grMidDb),
                     std::min(deepestDb[2], processor->grHighDb)};
    }
    for (const float db : deepestDb)
        EXPECT_LT(db, -1.0F) << "a case must duck in all bands";
}

INSTANTIATE_TEST_SUITE_P(cases, AgainstModel,
                         testing::Values(ModelCase{48000, 10, 100, 20, 20000},
                                         ModelCase{44100, 0.1, 5, 150, 12000},
                                         ModelCase{22050, 100, 2000, 20, 20000},
                                         ModelCase{192000, 10, 100, 20, 1e5}));

TEST(DenormalGuard, FlushesAndRestores) {
    volatile float tiny = 1e-40F;
    {
        const dsp::DenormalGuard guard;
        EXPECT_TRUE(dsp::fpmode::kFlushBits == 0 || tiny * 1.0F == 0.0F);
    }
    EXPECT_GT(tiny * 1.0F, 0.0F);
}

} // namespace
