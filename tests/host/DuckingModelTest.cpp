#include "tests/support/ReferenceDucker.h"
#include "tests/support/Test.h"
#include "tests/support/Track.h"

namespace {

/// An instance and, beside it, the model that says what it must put out.
struct Side {
    Side(const Stereo& signal, double rate, const ReferenceDucker::Settings& s, double makeupDb)
        : in(signal), settings(s), model(rate) {
        settings.outputGain = std::pow(10.0, makeupDb / 20.0);
        // clang-format off
        track.set({{FreqLow, s.lowSplitHz}, {FreqHigh, s.highSplitHz}, {HP, s.hpHz}, {LP, s.lpHz},
                   {ThreshLow, s.thresholdDb[0]}, {RatioLow, s.ratio[0]},
                   {ThreshMid, s.thresholdDb[1]}, {RatioMid, s.ratio[1]},
                   {ThreshHigh, s.thresholdDb[2]}, {RatioHigh, s.ratio[2]},
                   {Attack, s.attackMs}, {Release, s.releaseMs}, {Makeup, makeupDb}});
        // clang-format on
        track.start(rate);
    }

    /// One block of both. As the instances do: the peer's spectrum is taken before the block, the
    /// own one published after every third.
    void block(std::size_t frames, const Side& peer) {
        const std::size_t at = out.size();
        track.block(in, at, frames, out);
        expected.left.resize(at + frames);
        expected.right.resize(at + frames);
        model.process(settings, peer.published, {&in.left[at], frames}, {&in.right[at], frames},
                      {&expected.left[at], frames}, {&expected.right[at], frames});
        if (++blocks % 3 == 0)
            published = model.magnitude();
        const shm::SlotSnapshot slot = track.slot();
        for (std::size_t band = 0; band < 3; ++band)
            deepestDb[band] = std::min(deepestDb[band], slot.gainReduction[band]);
    }

    [[nodiscard]] double error() const { return support::largestError(out, expected, 0, 1.0, 0); }

    Track track;
    Stereo in, out, expected;
    ReferenceDucker::Settings settings;
    ReferenceDucker model;
    std::vector<double> published;
    std::array<float, 3> deepestDb{}; ///< gain reduction as published, per band
    int blocks = 0;
};

// Splits and limits lie between bins: on a bin the last bit of a frequency would decide.
// clang-format off
const ReferenceDucker::Settings kFast = {
    .thresholdDb = {-35.0, -42.5, -50.0}, .ratio = {3.0, 8.0, 20.0},
    .lowSplitHz = 310.0, .highSplitHz = 2900.0, .hpHz = 60.0, .lpHz = 11000.0,
    .attackMs = 1.0, .releaseMs = 60.0};
const ReferenceDucker::Settings kSlow = {
    .thresholdDb = {-55.0, -48.5, -57.0}, .ratio = {10.0, 2.0, 5.5},
    .lowSplitHz = 700.0, .highSplitHz = 6000.0, .hpHz = 110.0, .lpHz = 15000.0,
    .attackMs = 40.0, .releaseMs = 300.0};
// clang-format on

class DuckingModel : public testing::TestWithParam<double> {};

INSTANTIATE_TEST_SUITE_P(rates, DuckingModel, testing::Values(22050.0, 48000.0, 192000.0),
                         [](const auto& row) { return std::to_string(int(row.param)); });

TEST_P(DuckingModel, IsWhatBothSidesDoUnlessOneMayNotDuckItself) {
    const double rate = GetParam();
    const auto length = static_cast<std::size_t>(2.0 * rate);
    for (const bool fastDucks : {true, false}) {
        SCOPED_TRACE(fastDucks ? "both duck" : "one has duck self off");
        Side fast(support::noise(length, 0.5, 3), rate, kFast, 3.0);
        Side slow(support::tones(length, rate, 0.9), rate, kSlow, -2.0);
        shm::RegistryMonitor monitor;
        ASSERT_TRUE(monitor.Attach() && monitor.Pair(fast.track.id(), slow.track.id()) &&
                    monitor.SetDuckSelfOf(fast.track.id(), fastDucks));
        if (!fastDucks)
            fast.settings.ratio = {1.0, 1.0, 1.0};
        constexpr std::size_t kBlocks[] = {512, 64, 480, 1024, 333, 2048};
        for (std::size_t i = 0; fast.out.size() < length; ++i) {
            const std::size_t frames =
                std::min(kBlocks[i % std::size(kBlocks)], length - fast.out.size());
            fast.block(frames, slow);
            slow.block(frames, fast);
        }
        // Of full scale; single precision makes 0.5e-6.
        EXPECT_LT(fast.error(), 3e-6);
        EXPECT_LT(slow.error(), 3e-6);
        EXPECT_LT(std::ranges::max(slow.deepestDb), -0.25F) << "by a few bins at least";
        if (fastDucks)
            EXPECT_LT(std::ranges::max(fast.deepestDb), -0.25F);
        else
            EXPECT_EQ(fast.deepestDb, (std::array{0.0F, 0.0F, 0.0F}));
    }
}

} // namespace
