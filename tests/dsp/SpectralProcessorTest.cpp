#include "dsp/SpectralProcessor.h"
#include "dsp/DenormalGuard.h"
#include "tests/support/Test.h"

namespace {

TEST(SpectralProcessor, ChoosesTheSizeThatHolds21Ms) {
    const auto processor = std::make_unique<dsp::SpectralProcessor>();
    // 24404.7 · 0.021 + 0.5 = 512.9987 and 24405 · 0.021 + 0.5 = 513.005: the edge of 512
    for (const auto& [sampleRate, size] : {std::pair<double, std::uint32_t>{24404.7, 512},
                                           {24405, 1024},
                                           {9e8, 4096},
                                           {kNan, 1024},
                                           {kInfinity, 1024},
                                           {-48000, 1024}})
        EXPECT_EQ(processor->reset(sampleRate), size) << sampleRate;
}

/// One frame with instant attack; at 48 kHz bins are 46.875 Hz apart.
TEST(SpectralProcessor, ReducesByTheFormulaPerBinAndBand) {
    const auto processor = std::make_unique<dsp::SpectralProcessor>();
    constexpr double kThresholdDb[] = {-20.0, -30.0, -40.0};
    std::array<double, 3> ratio{2.0, 4.0, 10.0};
    float lpHz = 400 * 46.875F;
    const auto run = [&](const std::vector<float>& peer, double sampleRate = 48000.0) {
        processor->setTimes(0.0, 100.0);
        processor->reset(sampleRate);
        processor->processBlock(peer.data(), true, kThresholdDb, ratio.data(), 10 * 46.875,
                                100 * 46.875, 1.0F, 3 * 46.875F, lpHz);
    };
    const auto level = [](double db) {
        return static_cast<float>(std::pow(10.0, db / 20.0) * 1024 / 3.14159265358979);
    };
    const auto& gain = processor->binGain;
    std::vector<float> peer(1024, level(-10.0));
    const std::array odd{level(-40.1), kNan, -kInfinity, 0.0F, kInfinity, kMaxFloat};
    std::copy(odd.begin(), odd.end(), peer.begin() + 200);
    run(peer);
    const std::tuple<const char*, std::size_t, double> reductionsDb[] = {
        {"DC", 0, 0},
        {"below HP", 2, 0},
        {"on HP", 3, 0.5 * 10},
        {"last low", 9, 0.5 * 10},
        {"on the low split: mid", 10, 0.75 * 20},
        {"last mid", 99, 0.75 * 20},
        {"on the high split: high", 100, 0.9 * 30},
        {"just below the threshold", 200, 0},
        {"NaN", 201, 0},
        {"negative", 202, 0},
        {"nothing", 203, 0},
        {"on LP", 400, 0.9 * 30},
        {"above LP", 401, 0}};
    for (const auto& [what, bin, db] : reductionsDb)
        EXPECT_NEAR(gain[bin], std::pow(10.0, -db / 20.0), 1e-6) << what;
    EXPECT_EQ(gain[204], 0.0) << "infinity";
    EXPECT_NEAR(gain[205], 0.0, 1e-6) << "the greatest float";
    run(peer, 47000.0);
    EXPECT_EQ(gain[3], 1.0) << "below HP at another rate of the same size";

    lpHz = 1e5F;
    run(peer);
    EXPECT_LT(gain[510], 0.1);
    EXPECT_EQ(gain[511], 1.0) << "top bin";
    run(std::vector<float>(2048, level(40.0)), 192000.0);
    EXPECT_LT(gain[1023], 0.1);
    EXPECT_EQ(gain[1024], 1.0) << "beyond what peers exchange";
    ratio = {1.0, 0.5, kNan};
    run(peer);
    EXPECT_EQ(std::set<float>(gain.begin(), gain.begin() + 512), std::set{1.0F}) << "up to 1";

    processor->binGain.fill(0.0F);
    processor->computeGrBands(20.0, 1e6);
    EXPECT_TRUE(processor->grLowDb == 0.0F && processor->grHighDb == 0.0F) << "no bin";
    EXPECT_FLOAT_EQ(processor->grMidDb, -180.0F) << "floor";
}

TEST(Stream, InMonoIsTheSameChannelTwiceAndNothingBeforeAReset) {
    const Stereo in = support::noise(6000, 0.5, 1);
    Stereo stereo = in;
    std::vector<double> mono(6000, 1.0);
    const auto one = std::make_unique<dsp::SpectralProcessor>(),
               two = std::make_unique<dsp::SpectralProcessor>();
    one->stream({}, in.left.data(), nullptr, mono.data(), nullptr, 6000);
    EXPECT_EQ(mono, std::vector<double>(6000));
    one->reset(48000.0), two->reset(48000.0);
    one->stream({}, in.left.data(), nullptr, mono.data(), nullptr, 6000);
    two->stream({}, in.left.data(), in.left.data(), stereo.left.data(), stereo.right.data(), 6000);
    EXPECT_TRUE(mono == stereo.left && mono == stereo.right);
    EXPECT_EQ(one->magnitude, two->magnitude);
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
