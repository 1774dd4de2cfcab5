// What the strictest validators ask of any plug-in, beyond what the other tests of this folder say
// of this one.
#include "tests/support/Test.h"
#include "tests/support/Track.h"

#include <cfloat>
#include <span>

namespace {

constexpr double kRate = 48000.0;

struct Buffers {
    SampleFormat format;
    bool inPlace, sidechain;
};

class ConformanceOfBlocks : public testing::TestWithParam<Buffers> {};

constexpr auto k32 = SampleFormat::Float32, k64 = SampleFormat::Float64;
INSTANTIATE_TEST_SUITE_P(buffers, ConformanceOfBlocks,
                         testing::Values(Buffers{k64, false, false}, Buffers{k64, true, true},
                                         Buffers{k32, false, true}, Buffers{k32, true, false}));

TEST_P(ConformanceOfBlocks, WritesItsSamplesAndNothingElse) {
    constexpr double kGuard = 1234.5;
    constexpr std::uint32_t kMax = 1024, kBehind = 32;
    const auto [format, inPlace, sidechain] = GetParam();
    Track track;
    ASSERT_TRUE(host::selectAudioPortConfig(track.instance, sidechain ? 1 : 0));
    host::AudioBuffers audio(host::portSpecs(track.instance, true, format),
                             host::portSpecs(track.instance, false, format), kMax + kBehind);
    if (inPlace)
        audio.makeInPlace();
    track.start(kRate, {.maxFrames = kMax});
    Dice dice(6);
    // Loud, silent and subnormal stretches, so that the delay line's end fades.
    constexpr double kLevels[] = {1.0, 0.0, 1e-4, 1e-41, 1e-310};
    for (int block = 0; block < 300; ++block) {
        const std::uint32_t frames = dice.below(kMax + 1);
        const double level = kLevels[block / 10 % 5];
        std::vector<double> in(kMax + kBehind, kGuard);
        std::generate_n(in.begin(), frames, [&] { return float(dice.between(-level, level)); });
        audio.output().fill(kGuard);
        for (std::uint32_t port = 0; port < audio.inputRecords().size(); ++port)
            for (std::uint32_t i = 0; i < 2 * in.size(); ++i)
                audio.input(port).set(i % 2, i / 2, in[i / 2]);
        if (dice.oneIn(40))
            track.instance.reset();
        EXPECT_EQ(track.instance.process(audio, frames), CLAP_PROCESS_CONTINUE);
        for (std::uint32_t i = 0; i < 2 * in.size(); ++i) {
            const double sample = audio.output().get(i % 2, i / 2);
            const bool sound = sample == 0.0 || std::abs(sample) >= double{FLT_MIN};
            const bool written = sound && std::abs(sample) < 10.0;
            ASSERT_TRUE(i / 2 < frames ? written : sample == kGuard)
                << sample << " at " << i / 2 << " of " << frames << ", block " << block;
            ASSERT_TRUE(inPlace || audio.input().get(i % 2, i / 2) == in[i / 2]) << i / 2;
        }
    }
}

} // namespace
