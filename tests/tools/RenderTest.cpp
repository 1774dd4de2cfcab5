#include "tests/support/Test.h"
#include "tools/common/AudioFile.h"
#include "tools/common/Failure.h"
#include "tools/common/StateFile.h"
#include "tools/render/Options.h"
#include "tools/render/OutputPaths.h"
#include "tools/render/Session.h"

#include <unistd.h>

namespace {

namespace fs = std::filesystem;

/// In a folder of its own, which is gone afterwards.
class Render : public testing::Test {
protected:
    const fs::path before = fs::current_path();
    const fs::path folder = fs::temp_directory_path() / ("render-test-" + std::to_string(getpid()));

    Render() {
        fs::create_directories(folder);
        fs::current_path(folder);
    }
    ~Render() override {
        fs::current_path(before);
        fs::remove_all(folder);
    }
};

/// Mono when there is nothing on the right. Returns how many samples were cut off.
std::uint64_t write(const char* name, const Stereo& sound, int rate = 48000,
                    int sampleFormat = SF_FORMAT_FLOAT) {
    const int channels = sound.right.empty() ? 1 : 2;
    tools::AudioWriter writer(name, {rate, channels, SF_FORMAT_WAV | sampleFormat, sound.size()},
                              name, {0, sound.size()});
    writer.write(sound.left, channels == 1 ? sound.left : sound.right);
    writer.finish();
    return writer.clippedSamples();
}

Stereo read(const char* name) {
    tools::AudioReader reader(name);
    const std::vector<double> silence(reader.format().frames);
    Stereo sound{silence, silence};
    reader.read(sound.left, sound.right);
    return sound;
}

render::Options parsed(std::vector<std::string> line) {
    std::vector<const char*> words{"tessella-render", "--plugin", TD_PLUGIN_PATH};
    for (const std::string& word : line)
        words.push_back(word.c_str());
    return render::parseOptions(static_cast<int>(words.size()), words.data()).value();
}

render::RenderResult run(const std::vector<std::string>& line) {
    return render::renderSession(parsed(line), [](double) {});
}

/// Why the line's outputs are refused; empty when they are not.
std::string refusalOf(const std::vector<std::string>& line) try {
    (void)resolveOutputs(parsed(line));
    return "";
} catch (const tools::Failure& failure) {
    return failure.what();
}

TEST_F(Render, NeverOverwritesAnInput) {
    for (const char* name : {"a.wav", "b.wav"})
        (void)write(name, support::noise(64, 0.25, 1));
    fs::create_symlink("a.wav", "symbolic.wav");
    fs::create_hard_link("b.wav", "hard.wav");
    fs::create_directory_symlink(folder, "again");
    for (const char* output : {"a.wav", "symbolic.wav", "hard.wav", "again/b.wav", "state"})
        for (const auto& [option, track] :
             {std::pair{"--out", "1:"}, {"--save-state", "1:"}, {"--picture", ""}}) {
            SCOPED_TRACE(std::string(option) + ' ' + output);
            EXPECT_NE(refusalOf({"a.wav", "b.wav", "--load-state", "2:state", option,
                                 std::string(track) + output})
                          .find("would overwrite"),
                      std::string::npos);
        }
    EXPECT_NE(refusalOf({"a.wav", "a.wav"}).find("two outputs"), std::string::npos);
    EXPECT_EQ(resolveOutputs(parsed({"a.wav", "b.wav", "--out", "2:c.wav"})),
              (std::vector<fs::path>{"a-ducked.wav", "c.wav"}));
}

TEST_F(Render, OvershootIsCutOffAndCounted) {
    EXPECT_EQ(write("x.wav", {{1.5, -1.5, 0.5}, {}}, 48000, SF_FORMAT_PCM_16), 2U);
    const std::vector<double> cut{1, -1, 0.5};
    EXPECT_LT(support::largestError(read("x.wav"), {cut, cut}, 0, 1, 0), 1e-3);
}

/// Without a partner the plug-in only delays: what comes out lines up with what went in.
TEST_F(Render, OutputsLineUpWithTheirInputs) {
    const Stereo in = support::noise(10007, 0.25, 1);
    // The delay is twice the transform size at the rate.
    for (const auto& [rate, delay] : {std::pair{22050, 1024U}, {96000, 4096U}}) {
        (void)write("in.wav", in, rate);
        for (const char* block : {"1", "256", "16384"})
            for (const std::size_t late : {0U, delay}) {
                SCOPED_TRACE(std::to_string(rate) + " Hz, " + block);
                std::vector<std::string> line{"in.wav", "--block", block};
                if (late > 0)
                    line.emplace_back("--raw-delay");
                (void)run(line);
                const Stereo out = read("in-ducked.wav");
                ASSERT_EQ(out.size(), in.size() + late);
                EXPECT_LT(support::largestError(out, in, late, 1, late), 1e-5);
            }
    }
}

/// What the command line does not name is the state's, to the byte, also after sound has passed.
TEST_F(Render, StateComesThroughAndTheCommandLineGoesOnTop) {
    (void)write("a.wav", {support::noise(4800, 0.25, 1).left, {}});
    std::vector<std::string> line{"a.wav", "--load-state", "1:" TD_TEST_DATA "/full.chunk",
                                  "--save-state", "1:kept"};
    support::Bytes expected = support::chunkFile("full");
    for (const char* word : {"--set", "1:HP=80 Hz", "--set", "1:LinkSlot=3", "--duck", "1=off",
                             "--name", "1:Kick: hard"})
        line.emplace_back(word);
    EXPECT_EQ(run(line).tracks[0].name, "Kick: hard");
    support::put(expected, support::kParamsAt + 8 * 12, 80.0);
    support::put(expected, support::kParamsAt + 8 * 11, 3.0);
    support::put(expected, support::kDuckAt, 0U);
    EXPECT_EQ(statefile::read("kept"), expected);
}

/// The renderer would pair neighbours; the states know better. A bounce is ducked from its first
/// frames as when the renderer pairs the same two, and the states come through to the byte.
TEST_F(Render, StatesThatNameEachOtherPairByThemselves) {
    const Stereo in = support::tones(4800, 48000, 0.9);
    support::Bytes kick = support::chunkFile("full"); // of "Kick – „1“", whose peer is "Bass"
    support::put(kick, support::kShadowAt, 0); // nothing that a heartbeat would set in between
    support::Bytes bass = kick;
    std::swap_ranges(bass.begin(), bass.begin() + 64, bass.begin() + support::kPeerNameAt);
    statefile::write("kick", kick);
    statefile::write("bass", bass);
    for (const char* name : {"kick.wav", "pad.wav", "bass.wav"})
        (void)write(name, in);

    const auto tracks = run({"kick.wav", "pad.wav", "bass.wav", "--pair", "states", "--load-state",
                             "1:kick", "--load-state", "3:bass", "--save-state", "3:kept"})
                            .tracks;
    EXPECT_EQ(tracks[0].peerName, "Bass");
    EXPECT_EQ(tracks[1].peerName, "");
    EXPECT_EQ(tracks[2].peerName, "Kick – „1“");
    EXPECT_EQ(statefile::read("kept"), bass);
    const double byThemselves = rms(read("bass-ducked.wav"));
    EXPECT_LT(byThemselves, 0.4 * rms(in)); // unducked 0.67: the states' make-up
    (void)run({"kick.wav", "bass.wav", "--load-state", "1:kick", "--load-state", "2:bass"});
    EXPECT_NEAR(byThemselves, rms(read("bass-ducked.wav")), 0.01 * rms(in));
}

} // namespace
