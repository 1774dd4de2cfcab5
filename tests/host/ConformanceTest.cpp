// What the strictest validators ask of any plug-in, beyond what the other tests of this folder say
// of this one.
#include "tests/support/Test.h"
#include "tests/support/Track.h"

#include <cfloat>
#include <span>

namespace {

constexpr double kRate = 48000.0;

/// A value for every parameter, as a host gives them: anywhere, and now and then at an end.
void addAnyValues(Track& track, Dice dice) {
    for (const auto& info : track.params.infos()) {
        const double end = dice.oneIn(2) ? info.min_value : info.max_value;
        const double inside = dice.between(info.min_value, info.max_value);
        track.events.addParamValue(info.id, dice.oneIn(8) ? end : inside, dice.below(64));
    }
}

std::vector<double> valuesOf(const Track& track) {
    std::vector<double> values;
    for (clap_id id = 0; id < kNumParams; ++id)
        values.push_back(track.hostValue(id));
    return values;
}

/// What the slot says that a state must bring back.
std::string publishedBy(const Track& track) {
    const shm::SlotSnapshot slot = track.slot().value();
    std::ostringstream text;
    text << slot.name << ' ' << slot.duckSelf << ' ' << slot.hpHz << ' ' << slot.lpHz << ' '
         << slot.attackMs << ' ' << slot.releaseMs << ' ' << slot.makeupDb;
    for (const TDBand& band : std::span(slot.bands).first(std::size_t(slot.bandCount)))
        text << '\n'
             << band.loHz << ' ' << band.hiHz << ' ' << band.threshDb << ' ' << band.ratio << ' '
             << band.enabled;
    return text.str();
}

TEST(Conformance, RandomSettingsComeBackInAnyInstance) {
    Track processing, flushed, running;
    const Stereo in = support::noise(16384, 0.9, 4);
    processing.start(kRate);
    running.start(kRate);
    for (unsigned round = 0; round < 25 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        Dice dice(round);
        Stereo out;
        addAnyValues(processing, dice);
        addAnyValues(flushed, dice);
        processing.block(in, 0, 64, out);
        flushed.params.flush(flushed.events, flushed.sent);
        flushed.events.clear();
        EXPECT_EQ(valuesOf(flushed), valuesOf(processing)) << "process and flush differ";
        const bool edited = dice.oneIn(2);
        if (edited) {
            support::editAnything(processing.id(), dice);
            processing.block(in, 0, 64, out);
        }

        const auto state = host::saveState(processing.instance).value();
        const auto values = valuesOf(processing);
        const std::string published = publishedBy(processing);
        Track fresh;
        for (Track* other : {&fresh, &running}) {
            ASSERT_TRUE(host::loadState(other->instance, state, {.pieceSize = 1 + dice.below(50)}));
            for (std::size_t id = 0; id < kNumParams; ++id)
                EXPECT_NEAR(valuesOf(*other)[id], values[id], 1e-9) << id;
            EXPECT_TRUE(!edited || publishedBy(*other) == published) << published;
            EXPECT_EQ(host::saveState(other->instance), state);
            other->start(kRate);
        }
        processing.start(kRate);
        const Stereo expected = processing.play(in, 512);
        for (Track* other : {&fresh, &running})
            EXPECT_EQ(other->play(in, 512).left, expected.left) << "it sounds different";
        running.block(in, 0, 100 + dice.below(1000), out);
    }
}

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
