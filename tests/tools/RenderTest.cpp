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
#include <random>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Samples = std::vector<double>;

std::string failureOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const render::Failure& failure) {
        return failure.what();
    }
    return "";
}

/// A folder that is gone after the test, with a way to put sounds into it.
class Render : public testing::Test {
protected:
    fs::path folder = fs::temp_directory_path() / ("render-test-" + std::to_string(getpid()));

    void SetUp() override { fs::create_directories(folder); }
    void TearDown() override { fs::remove_all(folder); }

    fs::path writeSound(const char* name, const Samples& left, const Samples& right,
                        int subtype = SF_FORMAT_FLOAT, int rate = 48000) {
        const int channels = right.empty() ? 1 : 2;
        const render::AudioFormat format{rate, channels, SF_FORMAT_WAV | subtype, left.size()};
        render::AudioWriter writer(folder / name, format, folder / name, {0, left.size()});
        writer.write(left, right.empty() ? left : right);
        writer.finish();
        return folder / name;
    }

    static std::pair<Samples, Samples> readSound(const fs::path& path) {
        render::AudioReader reader(path);
        Samples left(reader.format().frames);
        Samples right(left.size());
        reader.read(left, right);
        return {left, right};
    }

    static render::Options optionsFor(const std::vector<fs::path>& inputs) {
        render::Options options;
        options.plugin = TD_PLUGIN_PATH;
        for (const fs::path& input : inputs) {
            options.tracks.emplace_back();
            options.tracks.back().input = input;
            options.tracks.back().displayName = input.stem();
        }
        return options;
    }
};

Samples noise(std::size_t frames, unsigned seed, double level = 0.25) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<double> values(-level, level);
    Samples samples(frames);
    std::generate(samples.begin(), samples.end(), [&] { return values(generator); });
    return samples;
}

double largestDifference(const Samples& a, const Samples& b) {
    double largest = a.size() == b.size() ? 0.0 : 1e9;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        largest = std::max(largest, std::abs(a[i] - b[i]));
    return largest;
}

void ignoreProgress(double) {}

} // namespace

TEST(RenderOptions, WrongCommandLinesAreNamed) {
    const struct {
        std::vector<const char*> arguments;
        const char* says;
    } cases[]{
        {{}, "no audio file"},
        {{"a.wav", "--set", "ThreshLow=-30"}, "track number"},
        {{"a.wav", "--set", "0:ThreshLow=-30"}, "no track 0"},
        {{"a.wav", "--set", "2:ThreshLow=-30"}, "no track 2"},
        {{"a.wav", "--set", "1:ThreshLow"}, "N:NAME=VALUE"},
        {{"a.wav", "--set", "1:ThreshLow="}, "N:NAME=VALUE"},
        {{"a.wav", "--duck", "1=maybe"}, "on or off"},
        {{"a.wav", "--block", "0"}, "--block"},
        {{"a.wav", "b.wav", "--pair-with", "x"}, "exactly one"},
        {{"a.wav", "--pair-with", "x", "--private"}, "--private"},
        {std::vector<const char*>(17, "a.wav"), "at most 16"},
    };
    for (const auto& row : cases) {
        std::vector<const char*> line{"tessella-render"};
        line.insert(line.end(), row.arguments.begin(), row.arguments.end());
        const std::string message = failureOf(
            [&] { (void)render::parseOptions(static_cast<int>(line.size()), line.data()); });
        EXPECT_NE(message.find(row.says), std::string::npos) << row.says << " <- " << message;
    }
}

TEST(RenderOptions, TrackArgumentsReachTheirTrack) {
    const char* line[]{"tessella-render", "a.wav", "dir/b.flac", "--set",   "2:ThreshLow=-30 dB",
                       "--duck",          "1=off", "--set",      "2:HP=40", "--name",
                       "1:Kick: hard"};
    const auto options = render::parseOptions(std::size(line), line);
    ASSERT_TRUE(options);
    EXPECT_FALSE(options->tracks[0].duckSelf);
    EXPECT_TRUE(options->tracks[1].duckSelf);
    EXPECT_EQ(options->tracks[0].displayName, "Kick: hard");
    EXPECT_EQ(options->tracks[1].displayName, "b");
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
        render::Options options = optionsFor({a, b});
        options.tracks[0].output = folder / output;
        const auto refusal = [&] { (void)render::resolveOutputs(options); };
        EXPECT_NE(failureOf(refusal).find("would overwrite"), std::string::npos) << output;
        options.tracks[0].output.reset();
        options.picture = folder / output;
        EXPECT_NE(failureOf(refusal).find("would overwrite"), std::string::npos) << output;
    }
    render::Options twins = optionsFor({a, a});
    EXPECT_NE(failureOf([&] { (void)render::resolveOutputs(twins); }).find("two outputs"),
              std::string::npos);
    EXPECT_EQ(render::resolveOutputs(optionsFor({a, b}))[1], folder / "b-ducked.wav");
}

TEST_F(Render, OvershootIsCutOffAndCounted) {
    const Samples loud{1.5, -1.5, 0.5};
    const render::AudioFormat format{48000, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 3};
    render::AudioWriter writer(folder / "x.wav", format, folder / "x.wav", {0, 3});
    writer.write(loud, loud);
    writer.finish();
    EXPECT_EQ(writer.clippedSamples(), 2U);
    EXPECT_LT(largestDifference(readSound(folder / "x.wav").first, {1.0, -1.0, 0.5}), 1e-3);
}

/// Without a partner the plug-in only delays: what comes out lines up with what went in.
TEST_F(Render, OutputsLineUpWithTheirInputs) {
    const struct {
        int rate;
        std::uint64_t delay; ///< twice the transform size at this rate
    } cases[]{{22050, 1024}, {48000, 2048}, {96000, 4096}};
    for (const auto& row : cases) {
        const auto left = noise(10007, 1);
        const auto right = noise(10007, 2);
        const fs::path input = writeSound("in.wav", left, right, SF_FORMAT_FLOAT, row.rate);
        for (const std::uint32_t block : {1U, 256U, 16384U}) {
            render::Options options = optionsFor({input});
            options.blockSize = block;
            (void)render::renderSession(options, ignoreProgress);
            const auto [outLeft, outRight] = readSound(folder / "in-ducked.wav");
            EXPECT_LT(largestDifference(left, outLeft), 1e-5) << row.rate << " Hz, " << block;
            EXPECT_LT(largestDifference(right, outRight), 1e-5) << row.rate << " Hz, " << block;
        }
        render::Options options = optionsFor({input});
        options.rawDelay = true;
        (void)render::renderSession(options, ignoreProgress);
        const Samples raw = readSound(folder / "in-ducked.wav").first;
        ASSERT_EQ(raw.size(), left.size() + row.delay);
        const Samples late(raw.begin() + static_cast<std::ptrdiff_t>(row.delay), raw.end());
        EXPECT_LT(largestDifference(left, late), 1e-5);
    }
}

TEST_F(Render, OnlyTheTrackWithoutPriorityDucks) {
    const Samples shortNoise = noise(24000, 3);
    const fs::path kick = writeSound("kick.wav", shortNoise, {});
    const fs::path bass = writeSound("bass.wav", noise(48000, 4), {});
    const fs::path alone = writeSound("alone.wav", noise(48000, 5), {});
    render::Options options = optionsFor({kick, bass, alone});
    for (render::TrackOptions& track : options.tracks)
        track.settings = {{"ThreshMid", "-60"}, {"Release", "20"}};
    options.tracks[0].duckSelf = false;
    const render::RenderResult result = render::renderSession(options, ignoreProgress);
    constexpr std::size_t kMid = 1;
    EXPECT_EQ(render::reductionOf(result.tracks[0], kMid).mostDb, 0.0);
    EXPECT_LT(render::reductionOf(result.tracks[1], kMid).mostDb, -10.0);
    EXPECT_GT(result.tracks[1].blocks.back().gainReductionDb[kMid], -0.1F); // the kick has ended
    EXPECT_EQ(render::reductionOf(result.tracks[2], kMid).mostDb, 0.0);
    EXPECT_LT(largestDifference(readSound(folder / "kick-ducked.wav").first, shortNoise), 1e-5);
}

TEST_F(Render, WrongSettingsAndFilesAreNamed) {
    const fs::path sound = writeSound("a.wav", noise(64, 1), {});
    const fs::path other = writeSound("b.wav", noise(64, 1), {}, SF_FORMAT_FLOAT, 44100);
    const auto withSetting = [&](const char* name, const char* text) {
        render::Options options = optionsFor({sound});
        options.tracks[0].settings = {{name, text}};
        return options;
    };
    const struct {
        render::Options options;
        const char* says;
    } cases[]{
        {withSetting("Threshold", "-30"), "ThreshLow, ThreshMid, ThreshHigh"},
        {withSetting("ThreshLow", "0.1"), "-60.0 dB to 0.0 dB"},
        {withSetting("HP", "19.9"), "20 Hz to 1000 Hz"},
        {withSetting("Attack", "quick"), "not a number"},
        {withSetting("Attack", "nan"), "not a number"},
        {optionsFor({sound, other}), "48000 Hz"},
        {optionsFor({folder / "none.wav"}), "no such file"},
    };
    for (const auto& row : cases) {
        const std::string message =
            failureOf([&] { (void)render::renderSession(row.options, ignoreProgress); });
        EXPECT_NE(message.find(row.says), std::string::npos) << row.says << " <- " << message;
    }
}
