#include "host/Extensions.h"
#include "tests/host/Track.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace {

using host::SampleFormat;
using support::Stereo;
using support::Track;

struct Rate {
    double hz;
    std::size_t frame; ///< samples of one transform
};

class StreamAtRate : public testing::TestWithParam<Rate> {};

constexpr double kMakeupDb = 6.0;

/// Plays all of `in` in blocks of that size; 0: of random sizes.
Stereo play(Track& track, const Stereo& in, std::size_t frames) {
    std::minstd_rand random(5);
    Stereo out;
    while (out.size() < in.size()) {
        const std::size_t wanted = frames > 0 ? frames : 1 + random() % 3000;
        track.block(in, out.size(), std::min(wanted, in.size() - out.size()), out);
    }
    return out;
}

TEST_P(StreamAtRate, IsTheInputTwoFramesLaterTimesTheMakeup) {
    const auto [hz, n] = GetParam();
    const Stereo in = support::noise(8 * n, 0.45, 1);
    Track track;
    track.set({{Makeup, kMakeupDb}});
    track.start(hz);
    const Stereo out = track.play(in, 512);
    // The first frame's earlier half is the silence before the stream, sent through a transform.
    for (const auto& channel : {out.left, out.right})
        for (std::size_t i = 0; i < 2 * n; ++i)
            ASSERT_NEAR(channel[i], 0.0, i < 3 * n / 2 ? 0.0 : 1e-6) << i;
    const double error =
        support::largestError(out, in, 2 * n, std::pow(10.0, kMakeupDb / 20), 2 * n);
    EXPECT_LT(error, 1e-6);
    RecordProperty("error", std::to_string(error * 1e9) + "e-9");

    EXPECT_EQ(host::latency(track.instance), 1024U) << "deliberate: the host's figure is constant";
    EXPECT_EQ(track.slot().value().latencySamples, static_cast<int>(n));
}

TEST_P(StreamAtRate, DoesNotDependOnBlockSizeSampleFormatOrPlace) {
    const auto [hz, n] = GetParam();
    const Stereo in = support::noise(6 * n, 0.9, 2);
    Track track;
    track.start(hz);
    const Stereo expected = track.play(in, 512);
    for (const SampleFormat format : {SampleFormat::Float64, SampleFormat::Float32})
        for (const bool inPlace : {false, true})
            for (const std::size_t frames : {0U, 1U, 7U, 64U, 512U, 1024U, 4096U}) {
                track.start(hz, {.format = format, .inPlace = inPlace});
                const Stereo out = play(track, in, frames);
                // Comparing inside EXPECT_TRUE: a failure prints no list of numbers.
                EXPECT_TRUE(out.left == expected.left && out.right == expected.right)
                    << (format == SampleFormat::Float32 ? "32 bit, " : "64 bit, ")
                    << (inPlace ? "in place, " : "") << "blocks of " << frames;
            }
}

INSTANTIATE_TEST_SUITE_P(rates, StreamAtRate,
                         testing::Values(Rate{44100, 1024}, Rate{48000, 1024}, Rate{88200, 2048},
                                         Rate{96000, 2048}, Rate{176400, 4096}, Rate{192000, 4096}),
                         [](const auto& row) { return std::to_string(int(row.param.hz)); });

} // namespace
