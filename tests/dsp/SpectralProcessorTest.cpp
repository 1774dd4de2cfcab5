#include "dsp/SpectralProcessor.h"
#include "dsp/DenormalGuard.h"
#include "dsp/Smoothing.h"
#include "tests/support/Test.h"

#include <cfloat>

namespace {

TEST(SpectralProcessor, ChoosesTheSizeThatHolds21Ms) {
    using Case = std::pair<double, std::uint32_t>;
    const auto processor = std::make_unique<dsp::SpectralProcessor>();
    // 24404.7 · 0.021 + 0.5 = 512.9987 and 24405 · 0.021 + 0.5 = 513.005: the edge of 512
    for (const auto& [sampleRate, size] :
         {Case{1234.5678, 512}, Case{22050, 512}, Case{24404.7, 512}, Case{24405, 1024},
          Case{44100, 1024}, Case{48000, 1024}, Case{88200, 2048}, Case{96000, 2048},
          Case{176400, 4096}, Case{192000, 4096}, Case{768000, 4096}, Case{9e8, 4096},
          Case{kNan, 1024}, Case{kInfinity, 1024}, Case{0, 1024}, Case{-48000, 1024}}) {
        EXPECT_EQ(processor->reset(sampleRate), size) << sampleRate;
    }
}

TEST(SpectralProcessor, SmoothsByItsFrameRate) {
    const auto processor = std::make_unique<dsp::SpectralProcessor>();
    EXPECT_FLOAT_EQ(processor->releaseCoef, std::exp(-1.0F / 0.1F)); // 100 ms at 1 Hz, before reset
    processor->setTimes(0.0, 2000.0);
    processor->reset(48000.0);
    EXPECT_EQ(processor->attackMs, 0.1);                               // raised
    EXPECT_FLOAT_EQ(processor->releaseCoef, std::exp(-1.0F / 187.5F)); // 93.75 Hz
    EXPECT_LT(processor->attackCoef, 1e-40F);
    processor->setTimes(kNan, 0.5);
    EXPECT_EQ(processor->attackMs, 0.1);
    EXPECT_EQ(processor->releaseMs, 1.0);

    EXPECT_DOUBLE_EQ(dsp::glideCoef(1440, 48000.0), 1.0 - std::exp(-1.0)); // a block of 30 ms
    EXPECT_EQ(dsp::glideCoef(64, kNan), 0.0);
}

/// One frame at 48 kHz, bins 46.875 Hz apart, with instant attack.
class Gains : public testing::Test {
protected:
    void run(const std::vector<float>& peer, double sampleRate = 48000.0) {
        processor->setTimes(0.0, 100.0);
        processor->reset(sampleRate);
        processor->processBlock(peer.data(), true, thresholdDb.data(), ratio.data(), lowSplitHz,
                                highSplitHz, 1.0F, 3 * 46.875F, lpHz);
    }
    [[nodiscard]] double gain(std::size_t bin) const { return processor->binGain[bin]; }

    static float level(double db) {
        return static_cast<float>(std::pow(10.0, db / 20.0) * 1024 / 3.14159265358979);
    }

    std::unique_ptr<dsp::SpectralProcessor> processor = std::make_unique<dsp::SpectralProcessor>();
    std::array<double, 3> thresholdDb{-20.0, -30.0, -40.0};
    std::array<double, 3> ratio{2.0, 4.0, 10.0};
    double lowSplitHz = 10 * 46.875, highSplitHz = 100 * 46.875;
    float lpHz = 400 * 46.875F;
};

TEST_F(Gains, FollowTheFormulaPerBinAndBand) {
    std::vector<float> peer(1024, level(-10.0));
    const std::array odd{level(-40.1), kNan, -kInfinity, 0.0F, kInfinity, FLT_MAX};
    std::copy(odd.begin(), odd.end(), peer.begin() + 200);
    run(peer);
    struct Case {
        const char* what;
        std::size_t bin;
        double reductionDb;
    };
    for (const auto& [what, bin, reductionDb] :
         {Case{"DC", 0, 0}, Case{"below HP", 2, 0}, Case{"on HP", 3, 0.5 * 10},
          Case{"last low", 9, 0.5 * 10}, Case{"on the low split: mid", 10, 0.75 * 20},
          Case{"last mid", 99, 0.75 * 20}, Case{"on the high split: high", 100, 0.9 * 30},
          Case{"just below the threshold", 200, 0}, Case{"NaN", 201, 0}, Case{"negative", 202, 0},
          Case{"nothing", 203, 0}, Case{"on LP", 400, 0.9 * 30}, Case{"above LP", 401, 0}})
        EXPECT_NEAR(gain(bin), std::pow(10.0, -reductionDb / 20.0), 1e-6) << what;
    EXPECT_EQ(gain(204), 0.0) << "infinity";
    EXPECT_NEAR(gain(205), 0.0, 1e-6) << "the greatest float";

    lpHz = 24000.0F;
    run(peer);
    EXPECT_LT(gain(510), 0.1);
    EXPECT_EQ(gain(511), 1.0) << "top bin";
    lpHz = 1e5F;
    run(std::vector<float>(2048, level(40.0)), 192000.0);
    EXPECT_LT(gain(1023), 0.1);
    EXPECT_EQ(gain(1024), 1.0) << "beyond what peers exchange";
    ratio = {1.0, 0.5, kNan};
    run(peer);
    for (std::size_t bin = 0; bin < 512; ++bin)
        ASSERT_EQ(gain(bin), 1.0) << "ratio up to 1, bin " << bin;
}

TEST_F(Gains, StayFiniteUnderAnySettings) {
    for (const double odd : {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e300}) {
        thresholdDb.fill(odd);
        lowSplitHz = highSplitHz = odd;
        run(std::vector<float>(1024, odd > 0.0 ? kInfinity : 0.0F));
        ratio.fill(odd);
        run(std::vector<float>(1024, 1.0F));
        for (std::size_t bin = 0; bin < 512; ++bin)
            ASSERT_TRUE(gain(bin) >= 0.0 && gain(bin) <= 1.0) << odd << ", bin " << bin;
    }
}

TEST_F(Gains, AreMeteredAsTheDbOfTheirMeanWithTheTopBin) {
    run({});
    auto& p = *processor;
    p.binGain.fill(0.5F);
    p.binGain[0] = 0.0F;   // DC does not count
    p.binGain[511] = 1.0F; // the top bin does, in the high band
    p.binGain[1] = 0.1F;
    p.computeGrBands(3 * 46.875, 510 * 46.875);
    EXPECT_FLOAT_EQ(p.grLowDb, 20.0F * std::log10(0.3F));
    EXPECT_FLOAT_EQ(p.grMidDb, 20.0F * std::log10(0.5F));
    EXPECT_FLOAT_EQ(p.grHighDb, 20.0F * std::log10(0.75F));
    p.binGain.fill(0.0F);
    p.computeGrBands(20.0, 1e6);
    EXPECT_EQ(p.grLowDb, 0.0F) << "no bin";
    EXPECT_FLOAT_EQ(p.grMidDb, -180.0F) << "floor";
    EXPECT_EQ(p.grHighDb, 0.0F) << "no bin";
}

using Processor = std::unique_ptr<dsp::SpectralProcessor>;

Processor prepared(double sampleRate) {
    auto processor = std::make_unique<dsp::SpectralProcessor>();
    processor->reset(sampleRate);
    return processor;
}

Stereo streamed(dsp::SpectralProcessor& processor, const dsp::FrameSettings& settings,
                Stereo signal) {
    double *const l = signal.left.data(), *const r = signal.right.data();
    processor.stream(settings, l, r, l, r, static_cast<int>(signal.size()));
    return signal;
}

TEST(Stream, MayAliasItsBuffersAndRunInMono) {
    const Stereo in = support::noise(6000, 0.5, 1);
    const Stereo expected = streamed(*prepared(48000.0), {}, in);
    Stereo crossed = in;
    double *const l = crossed.left.data(), *const r = crossed.right.data();
    prepared(48000.0)->stream({}, l, r, r, l, 6000);
    EXPECT_TRUE(crossed.right == expected.left && crossed.left == expected.right);

    const Processor both = prepared(48000.0); // the left channel, twice
    EXPECT_EQ(streamed(*both, {}, {in.left, in.left}).right, expected.left);
    for (const double* right : {static_cast<const double*>(nullptr), in.left.data()}) {
        std::vector<double> mono(6000);
        const Processor processor = prepared(48000.0);
        processor->stream({}, in.left.data(), right, mono.data(), nullptr, 6000);
        EXPECT_TRUE(mono == expected.left && processor->magnitude == both->magnitude);
    }
    dsp::SpectralProcessor fresh; // never reset
    EXPECT_EQ(streamed(fresh, {}, in).left, std::vector<double>(6000, 0.0));
}

/// In the middle of a hop, with reduced gains: nothing of the sound may be left, all else must be.
TEST(Stream, StartsAnewWhenCleared) {
    std::vector<float> loud(1024); // each bin of its own, so that all roundings occur
    std::iota(loud.begin(), loud.end(), 1000.0F);
    const dsp::FrameSettings settings{
        .peerMagnitude = loud.data(),
        .peerValid = true,
        .reduction = {.thresholdDb = {-20.0, -20.0, -20.0}, .ratio = {4.0, 4.0, 4.0}}};
    const Processor used = prepared(96000.0), fresh = prepared(96000.0);
    for (dsp::SpectralProcessor* processor : {used.get(), fresh.get()})
        processor->setTimes(50.0, 500.0);
    streamed(*used, settings, support::noise(45000, 0.5, 1));
    EXPECT_LT(used->binGain[100], 0.5F);
    used->clear();

    std::vector<float> shared(1024, 1.0F);
    EXPECT_EQ(used->readMagnitude(shared), 1024);
    EXPECT_EQ(shared, std::vector<float>(1024, 0.0F));
    const auto state = [](const dsp::SpectralProcessor& p) {
        return std::tie(p.magnitude, p.binGain, p.grLowDb, p.grMidDb, p.grHighDb);
    };
    EXPECT_TRUE(state(*used) == state(*fresh));
    const Stereo in = support::noise(20000, 0.5, 2);
    const Stereo after = streamed(*used, settings, in), expected = streamed(*fresh, settings, in);
    EXPECT_TRUE(after.left == expected.left && after.right == expected.right);
    EXPECT_TRUE(state(*used) == state(*fresh));
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
