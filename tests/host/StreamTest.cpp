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

double peak(const std::vector<double>& samples, std::size_t from, std::size_t to) {
    double largest = 0.0;
    for (std::size_t i = from; i < to; ++i)
        largest = std::max(largest, std::abs(samples[i]));
    return largest;
}

Stereo playRandomBlocks(Track& track, const Stereo& in) {
    std::minstd_rand random(5);
    Stereo out;
    while (out.size() < in.size()) {
        const std::size_t frames = 1 + random() % 3000;
        track.block(in, out.size(), std::min(frames, in.size() - out.size()), out);
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
    EXPECT_EQ(peak(out.left, 0, 3 * n / 2), 0.0);
    EXPECT_EQ(peak(out.right, 0, 3 * n / 2), 0.0);
    EXPECT_LT(peak(out.left, 3 * n / 2, 2 * n), 1e-6);
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
    const auto expectSame = [&expected](const Stereo& out, const std::string& how) {
        // Comparing inside EXPECT_TRUE: a failure prints no list of numbers.
        EXPECT_TRUE(out.left == expected.left && out.right == expected.right) << how;
    };
    for (const SampleFormat format : {SampleFormat::Float64, SampleFormat::Float32})
        for (const bool inPlace : {false, true}) {
            const std::string how = (format == SampleFormat::Float32 ? "32 bit" : "64 bit") +
                                    std::string(inPlace ? " in place, " : ", ");
            for (const std::size_t frames : {1U, 7U, 64U, 512U, 1024U, 4096U}) {
                track.start(hz, {.format = format, .inPlace = inPlace});
                expectSame(track.play(in, frames), how + std::to_string(frames));
            }
            track.start(hz, {.format = format, .inPlace = inPlace});
            expectSame(playRandomBlocks(track, in), how + "random");
        }
}

INSTANTIATE_TEST_SUITE_P(rates, StreamAtRate,
                         testing::Values(Rate{44100, 1024}, Rate{48000, 1024}, Rate{88200, 2048},
                                         Rate{96000, 2048}, Rate{176400, 4096}, Rate{192000, 4096}),
                         [](const auto& row) { return std::to_string(int(row.param.hz)); });

} // namespace
