#include "dsp/Bands.h"
#include "tests/support/Test.h"

namespace {

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

} // namespace
