#include "dsp/SampleStream.h"
#include "dsp/DenormalGuard.h"
#include "tests/support/Signals.h"

#include <gtest/gtest.h>
#include <limits>
#include <memory>

namespace {

using support::Stereo;
using Samples = std::vector<double>;
using Processor = std::unique_ptr<dsp::SpectralProcessor>;

Processor prepared(double sampleRate) {
    auto processor = std::make_unique<dsp::SpectralProcessor>();
    processor->reset(sampleRate);
    return processor;
}

void streamInPlace(dsp::SpectralProcessor& processor, const dsp::FrameSettings& settings,
                   Stereo& signal) {
    double *const l = signal.left.data(), *const r = signal.right.data();
    dsp::streamBlock(processor, settings, l, r, l, r, static_cast<int>(signal.size()));
}

TEST(SampleStream, MayAliasItsBuffersAndRunInMono) {
    const Stereo in = support::noise(6000, 0.5, 1);
    Stereo expected = in, crossed = in;
    streamInPlace(*prepared(48000.0), {}, expected);
    double *const l = crossed.left.data(), *const r = crossed.right.data();
    dsp::streamBlock(*prepared(48000.0), {}, l, r, r, l, 6000);
    EXPECT_TRUE(crossed.right == expected.left && crossed.left == expected.right);

    for (const double* right : {static_cast<const double*>(nullptr), in.left.data()}) {
        Samples mono(6000);
        const Processor processor = prepared(48000.0);
        dsp::streamBlock(*processor, {}, in.left.data(), right, mono.data(), nullptr, 6000);
        EXPECT_TRUE(mono == expected.left && processor->ringL == processor->ringR);
    }
    const auto fresh = std::make_unique<dsp::SpectralProcessor>(); // never reset
    streamInPlace(*fresh, {}, crossed);
    EXPECT_EQ(crossed.left, Samples(6000, 0.0));
}

TEST(SampleStream, KeepsOnAfterTwelveHours) {
    const Processor processor = prepared(192000.0);
    dsp::FrameSettings settings;
    settings.outputGain = 16.0F;
    const Stereo in = support::noise(24576, 0.5, 3);
    Stereo out = in;
    streamInPlace(*processor, settings, out);
    processor->samplesSeen = std::numeric_limits<std::int32_t>::max() - 100;
    out = in;
    streamInPlace(*processor, settings, out);
    EXPECT_LT(support::largestError(out, in, 8192, 16.0, 8192), 2e-5);
}

TEST(DenormalGuard, FlushesAndRestores) {
    volatile float tiny = 1e-40F;
    {
        const dsp::DenormalGuard guard;
        EXPECT_TRUE(dsp::fpmode::kFlushBits == 0 || tiny * 1.0F == 0.0F);
    }
    EXPECT_GT(tiny * 1.0F, 0.0F);
}

} // namespace
