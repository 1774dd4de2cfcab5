#include "tests/support/Chunks.h"
#include "tests/support/Signals.h"
#include "tools/common/StateFile.h"
#include "tools/render/AudioFile.h"
#include "tools/render/Failure.h"
#include "tools/render/Options.h"
#include "tools/render/OutputPaths.h"
#include "tools/render/Session.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Samples = std::vector<double>;

void expectFailure(const std::string& says, const std::function<void()>& action) {
    try {
        action();
        ADD_FAILURE() << "expected: " << says;
    } catch (const render::Failure& failure) {
        EXPECT_NE(std::string(failure.what()).find(says), std::string::npos)
            << says << " <- " << failure.what();
    }
}

/// A folder that is gone after the test, with a way to put sounds into it.
class Render : public testing::Test {
protected:
    fs::path folder = fs::temp_directory_path() / ("render-test-" + std::to_string(getpid()));

    void SetUp() override { fs::create_directories(folder); }
    void TearDown() override { fs::remove_all(folder); }

    fs::path writeSound(const char* name, const Samples& left, const Samples& right,
                        int rate = 48000) {
        const render::AudioFormat format{rate, right.empty() ? 1 : 2,
                                         SF_FORMAT_WAV | SF_FORMAT_FLOAT, left.size()};
        render::AudioWriter writer(folder / name, format, folder / name, {0, left.size()});
        writer.write(left, right.empty() ? left : right);
        writer.finish();
        return folder / name;
    }

    static support::Stereo readSound(const fs::path& path) {
        render::AudioReader reader(path);
        support::Stereo sound{Samples(reader.format().frames), Samples(reader.format().frames)};
        reader.read(sound.left, sound.right);
        return sound;
    }

    static render::Options optionsFor(const std::vector<fs::path>& inputs) {
        render::Options options;
        options.plugin = TD_PLUGIN_PATH;
        for (const fs::path& input : inputs) {
            render::TrackOptions& track = options.tracks.emplace_back();
            track.input = input;
            track.displayName = input.stem();
        }
        return options;
    }
};

Samples noise(std::size_t frames, unsigned seed) { return support::noise(frames, 0.25, seed).left; }

double largestDifference(const Samples& a, const Samples& b) {
    double largest = a.size() == b.size() ? 0.0 : 1e9;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        largest = std::max(largest, std::abs(a[i] - b[i]));
    return largest;
}

render::RenderResult run(const render::Options& options) {
    return render::renderSession(options, [](double) {});
}

} // namespace

TEST(RenderOptions, TrackArgumentsReachTheirTrack) {
    const char* line[]{"tessella-render", "a.wav", "dir/b.flac", "--set",   "2:ThreshLow=-30 dB",
                       "--duck",          "1=off", "--set",      "2:HP=40", "--name",
                       "1:Kick: hard"};
    const auto options = render::parseOptions(std::size(line), line);
    ASSERT_TRUE(options);
    EXPECT_EQ(options->tracks[0].duckSelf, false);
    EXPECT_EQ(options->tracks[1].duckSelf, std::nullopt);
    EXPECT_EQ(options->tracks[0].displayName, "Kick: hard");
    EXPECT_EQ(options->tracks[1].displayName, std::nullopt);
    ASSERT_EQ(options->tracks[1].settings.size(), 2U);
    EXPECT_EQ(options->tracks[1].settings[0].text, "-30 dB");
    EXPECT_EQ(options->tracks[1].settings[1].name, "HP");
}

TEST_F(Render, NeverOverwritesAnInput) {
    const fs::path a = writeSound("a.wav", noise(64, 1), {});
    const fs::path b = writeSound("b.wav", noise(64, 2), {});
    fs::create_symlink(a, folder / "symbolic.wav");
    fs::create_hard_link(b, folder / "hard.wav");
    fs::create_directory_symlink(folder, folder / "again");
    for (const char* output : {"a.wav", "b.wav", "symbolic.wav", "hard.wav", "again/b.wav"}) {
        SCOPED_TRACE(output);
        render::Options sound = optionsFor({a, b}), picture = sound;
        sound.tracks[0].output = folder / output;
        picture.picture = folder / output;
        expectFailure("would overwrite", [&] { (void)render::resolveOutputs(sound); });
        expectFailure("would overwrite", [&] { (void)render::resolveOutputs(picture); });
    }
    expectFailure("two outputs", [&] { (void)render::resolveOutputs(optionsFor({a, a})); });
    EXPECT_EQ(render::resolveOutputs(optionsFor({a, b}))[1], folder / "b-ducked.wav");
}

TEST_F(Render, OvershootIsCutOffAndCounted) {
    const Samples loud{1.5, -1.5, 0.5};
    const render::AudioFormat format{48000, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 3};
    render::AudioWriter writer(folder / "x.wav", format, folder / "x.wav", {0, 3});
    writer.write(loud, loud);
    writer.finish();
    EXPECT_EQ(writer.clippedSamples(), 2U);
    EXPECT_LT(largestDifference(readSound(folder / "x.wav").left, {1.0, -1.0, 0.5}), 1e-3);
}

/// Without a partner the plug-in only delays: what comes out lines up with what went in.
TEST_F(Render, OutputsLineUpWithTheirInputs) {
    const auto [left, right] = support::noise(10007, 0.25, 1);
    // The delay is twice the transform size at the rate.
    for (const auto& [rate, delay] : {std::pair{22050, 1024}, {96000, 4096}}) {
        render::Options options = optionsFor({writeSound("in.wav", left, right, rate)});
        for (const std::uint32_t block : {1U, 256U, 16384U}) {
            options.blockSize = block;
            (void)run(options);
            const auto out = readSound(folder / "in-ducked.wav");
            EXPECT_LT(largestDifference(left, out.left), 1e-5) << rate << " Hz, " << block;
            EXPECT_LT(largestDifference(right, out.right), 1e-5) << rate << " Hz, " << block;
        }
        options.rawDelay = true;
        (void)run(options);
        const Samples raw = readSound(folder / "in-ducked.wav").left;
        EXPECT_LT(largestDifference(left, Samples(raw.begin() + delay, raw.end())), 1e-5);
    }
}

/// What the command line does not name is the state's, to the byte, also after sound has passed.
TEST_F(Render, StateComesThroughAndTheCommandLineGoesOnTop) {
    const fs::path full = TD_TEST_DATA "/full.chunk";
    render::Options options = optionsFor({writeSound("a.wav", noise(4800, 1), {})});
    render::TrackOptions& track = options.tracks[0];
    track.displayName.reset();
    track.loadState = full;
    track.saveState = folder / "kept";
    EXPECT_EQ(run(options).tracks[0].name, "Kick – „1“");
    support::Bytes expected = support::chunkFile("full");
    EXPECT_EQ(statefile::read(folder / "kept"), expected);

    track.settings = {{"HP", "80"}};
    track.duckSelf = false;
    (void)run(options);
    support::put(expected, support::kParamsAt + 8 * 12, 80.0);
    support::put(expected, support::kDuckAt, 0U);
    EXPECT_EQ(statefile::read(folder / "kept"), expected);

    track.saveState = full; // which is loaded
    expectFailure("would overwrite", [&] { (void)render::resolveOutputs(options); });
}
