#include "dsp/Bands.h"
#include "dsp/SpectralAnalyzer.h"
#include "tests/support/Test.h"

namespace {

TEST(BandRanges, HoldTheBinsThatTheSplitRuleGivesOneByOne) {
    Dice dice(3);
    for (int round = 0; round < 3000; ++round) {
        const auto binHz = static_cast<float>(dice.between(0.5, 200));
        const int numBins = static_cast<int>(dice.below(300));
        // Two rounds of three put a split exactly on a bin; some cross, some are no number.
        const auto split = [&] {
            const auto bin = static_cast<float>(dice.between(-5, 310));
            return dice.oneIn(50) ? kNan : (round % 3 != 0 ? std::floor(bin) : bin) * binHz;
        };
        const float low = split(), high = split();
        const auto ranges = dsp::bandRanges(binHz, numBins, low, high);
        for (int bin = 0; bin < numBins; ++bin) {
            const float hz = static_cast<float>(bin) * binHz;
            const std::size_t band = hz < low ? 0 : hz < high ? 1 : 2;
            for (std::size_t other = 0; other < 3; ++other)
                ASSERT_EQ(bin >= ranges[other].begin && bin < ranges[other].end, other == band)
                    << bin << " of " << numBins << ", " << low << ", " << high << ", " << binHz;
        }
    }
}

TEST(BandLevels, AreMeansWithoutDcAndTopBinAndSurviveForeignNumbers) {
    // Bins at 0, 10, … 70 Hz; splits 30 and 60, which belong to the upper band.
    const std::array<float, 8> bins{1000, 1, 3, 10, 20, 60, 7, 1000};
    EXPECT_EQ(dsp::bandLevels(bins.data(), 8, 10, 30, 60, 1), (dsp::BandLevels{2, 30, 7}));
    EXPECT_EQ(dsp::bandLevels(bins.data(), 8, 10, 5, 70, 0.5F),
              (dsp::BandLevels{0, 101.0F / 12, 0}));
    EXPECT_EQ(dsp::bandLevels(bins.data(), 1, 10, 30, 60, 1), dsp::BandLevels{});

    constexpr float kMaxFloat = std::numeric_limits<float>::max();
    const std::array<float, 8> hostile{0, kNan, kInfinity, -5, 9, kMaxFloat, kMaxFloat, 0};
    EXPECT_EQ(dsp::bandLevels(hostile.data(), 8, 10, 30, 50, 1),
              (dsp::BandLevels{0, 4.5F, kMaxFloat}));
    EXPECT_FLOAT_EQ(dsp::peerLevelScale(1024), 3.1415927F / 1024);
}

TEST(SpectralAnalyzer, RetunesItsBandTables) {
    dsp::SpectralAnalyzer analyzer;
    const struct {
        const char* what;
        double sampleRate;
        int firstLo, firstHi, lastHi;
        double topHz;
    } cases[] = {{"20 Hz is in bin 0, raised to 1; ceil(928.8)", 44100, 1, 2, 929, 20000},
                 {"ends at half the rate", 32000, 1, 2, 1024, 16000},
                 {"20 Hz is 33.18 bins", 1234.5678, 33, 34, 1024, 617.2839}};
    for (const auto& [what, sampleRate, firstLo, firstHi, lastHi, topHz] : cases) {
        analyzer.retune(sampleRate);
        const dsp::DisplayBands& bands = *analyzer.bands;
        EXPECT_TRUE(bands.front().loBin == firstLo && bands.front().hiBin == firstHi &&
                    bands.back().hiBin == lastHi)
            << what;
        for (std::size_t i = 0; i < 256; ++i)
            ASSERT_NEAR(bands[i].centreHz / (20 * std::pow(topHz / 20, (double(i) + 0.5) / 256)), 1,
                        2e-6);
    }
}

TEST(SpectralAnalyzer, KeepsTheLast8192SamplesInMono) {
    dsp::SpectralAnalyzer analyzer;
    std::vector<double> left(9000);
    std::iota(left.begin(), left.end(), 0.0);
    const std::vector<double> right(9000, 3.0);
    analyzer.push(left.data(), right.data(), 9000);
    analyzer.push(left.data() + 5, nullptr, 1);
    EXPECT_EQ(analyzer.writeCount, 9001U);
    EXPECT_EQ(analyzer.history[9000 - 8192], 5.0F);
    EXPECT_EQ(analyzer.history[8999 - 8192], (8999.0F + 3.0F) / 2);
    EXPECT_EQ(analyzer.history[8191], (8191.0F + 3.0F) / 2);
}

} // namespace
