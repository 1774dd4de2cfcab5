#include "tests/support/Test.h"
#include "tests/support/Track.h"

#include <bit>

namespace {

struct Rate {
    double hz;
    std::size_t frame; ///< samples of one transform
};

class StreamAtRate : public testing::TestWithParam<Rate> {};

constexpr double kInfinity = HUGE_VAL;
constexpr SampleFormat kFormats[] = {SampleFormat::Float64, SampleFormat::Float32};

/// Whatever the block size, the sample format and the place.
TEST_P(StreamAtRate, IsTheInputTwoFramesLaterTimesTheMakeup) {
    constexpr double kMakeupDb = 6.0;
    const auto [hz, n] = GetParam();
    const Stereo in = support::noise(8 * n, 0.45, 1);
    std::minstd_rand random(5);
    Track track;
    track.set({{Makeup, kMakeupDb}});
    for (const SampleFormat format : kFormats)
        for (const bool inPlace : {false, true})
            for (const std::size_t frames : {0U, 1U, 7U, 64U, 512U, 1024U, 4096U}) {
                SCOPED_TRACE(testing::Message() << "format " << int(format) << ", in place "
                                                << inPlace << ", blocks of " << frames);
                track.start(hz, {.format = format, .inPlace = inPlace});
                Stereo out;
                while (out.size() < in.size()) {
                    const std::size_t wanted = frames > 0 ? frames : random() % 3000;
                    track.block(in, out.size(), std::min(wanted, in.size() - out.size()), out);
                }
                // The first frame's earlier half is the silence before the stream, sent through a
                // transform.
                for (const auto& channel : {out.left, out.right})
                    for (std::size_t i = 0; i < 2 * n; ++i)
                        ASSERT_NEAR(channel[i], 0.0, i < 3 * n / 2 ? 0.0 : 1e-6) << i;
                const double gain = std::pow(10.0, kMakeupDb / 20);
                EXPECT_LT(support::largestError(out, in, 2 * n, gain, 2 * n), 1e-6);
            }
    EXPECT_EQ(host::latency(track.instance), 1024U) << "deliberate: the host's figure is constant";
    EXPECT_EQ(track.slot().latencySamples, static_cast<int>(n));
}

/// A frame of odd samples, between good ones. They pass through the delay of two frames and touch
/// the frame that is summed with theirs, no more; the spectrum is good with the first good frame.
TEST_P(StreamAtRate, IsRidOfOddSamplesWithinThreeFrames) {
    const std::pair<const char*, double (*)(std::uint64_t)> signals[] = {
        {"no numbers", [](std::uint64_t) { return double{NAN}; }},
        {"one infinite", [](std::uint64_t r) { return r % 999 == 0 ? kInfinity : 0.0; }},
        {"enormous", [](std::uint64_t r) { return r % 2 == 0 ? 1e308 : -1e38; }},
        {"any bits", [](std::uint64_t r) { return std::bit_cast<double>(r); }},
        {"hardly anything", [](std::uint64_t r) { return r % 2 == 0 ? 1e-41 : -1e-310; }},
    };
    const auto isSound = [](double sample) {
        return sample == 0.0 || std::isnormal(float(sample));
    };
    const auto [hz, n] = GetParam();
    Track track, listener;
    raw::Segment registry;
    shm::RegistryMonitor monitor;
    ASSERT_TRUE(monitor.Attach() && monitor.Pair(track.id(), listener.id()));
    track.set({{RatioLow, 1}, {RatioMid, 1}, {RatioHigh, 1}});
    const std::size_t bins = raw::Slot(std::size_t(track.slot().index)) + raw::kAudioBins;
    constexpr std::size_t kBlock = 64;
    for (const SampleFormat format : kFormats)
        for (const auto& [what, at] : signals) {
            SCOPED_TRACE(what);
            track.start(hz, {.format = format});
            listener.start(hz, {.format = format});
            const Stereo good = support::noise(8 * n, 0.25, 5);
            Stereo in = good;
            std::mt19937_64 random(3);
            for (std::size_t i = 2 * n; i < 3 * n; ++i) {
                in.left[i] = at(random());
                in.right[i] = at(random());
            }
            Stereo out, heard;
            for (std::size_t from = 0; from < in.size(); from += kBlock) {
                track.block(in, from, kBlock, out);
                listener.block(good, from, kBlock, heard);
                for (std::size_t i = from; i < out.size(); ++i)
                    ASSERT_TRUE(isSound(out.left[i]) && isSound(out.right[i]) &&
                                isSound(heard.left[i]) && isSound(heard.right[i]))
                        << i;
                // A frame of samples and the hop that it may begin late; every third block tells.
                const bool clean = out.size() >= 4 * n + n / 2 + 3 * kBlock;
                for (const float bin : registry.Get<std::array<float, 1024>>(bins))
                    ASSERT_TRUE(std::isfinite(bin) && (!clean || bin < float(n))) << out.size();
            }
            EXPECT_LT(support::largestError(out, good, 2 * n, 1.0, 6 * n), 1e-6);
        }
}

INSTANTIATE_TEST_SUITE_P(rates, StreamAtRate,
                         testing::Values(Rate{1234.5678, 512}, Rate{44100, 1024}, Rate{48000, 1024},
                                         Rate{88200, 2048}, Rate{96000.5, 2048}, Rate{176400, 4096},
                                         Rate{192000, 4096}, Rate{768000, 4096}),
                         [](const auto& row) { return std::to_string(int(row.param.hz)); });

TEST(Stream, HasNoSenselessRate) {
    Track track;
    for (const double rate : {0.0, -48000.0, double{NAN}})
        EXPECT_FALSE(track.instance.activate(rate, 1, 64)) << rate;
}

} // namespace
