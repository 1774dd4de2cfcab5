#include "dsp/Display.h"
#include "tests/support/Test.h"

namespace {

// Bins 48000 / 2048 Hz apart; the last band, 19467 to 20000 Hz, covers bins 830 to 853.
TEST(DisplayScale, ShowsTheMeanOfABandsBinsInDecibels) {
    dsp::DisplayScale scale;
    auto levels = dsp::silentLevels();
    std::vector<float> bins(1024, 2048 / 3.1415927F);
    bins[0] = bins[829] = bins[854] = kMaxFloat; // of no band, or of the one below, or too high
    for (std::size_t i = 830; i < 854; i += 2)
        bins[i] *= 3;
    bins[830] = -kMaxFloat; // counts as 0: the mean is (12 + 11 · 3) / 24 = 1.875
    scale.retune(48000, 2048, 1024);
    scale.follow(bins, levels);
    EXPECT_NEAR(levels[0], -40, 1e-4); // 0.6 · 0 + 0.4 · −100 dB
    EXPECT_NEAR(levels[255], 0.6 * 20 * std::log10(1.875) - 40, 1e-4);
    scale.retune(48000, 4096, 1024);
    scale.follow(bins, levels);
    EXPECT_NEAR(levels[0], 0.6 * 20 * std::log10(0.5) + 0.4 * -40, 1e-4);
    scale.follow({}, levels);
    EXPECT_EQ(levels, dsp::silentLevels());
    scale.follow(std::vector<float>(1024), levels);
    EXPECT_NEAR(levels[255], -100, 1e-4) << "as quiet as nothing";
}

} // namespace
