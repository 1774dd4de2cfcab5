#include "shm/RegistryMonitor.h"
#include "tests/support/Test.h"
#include "tools/common/AudioFile.h"
#include "tools/common/Failure.h"
#include "tools/common/Interrupt.h"
#include "tools/common/Program.h"
#include "tools/common/StateFile.h"
#include "tools/render/Embed.h"
#include "tools/render/Options.h"
#include "tools/render/OutputPaths.h"
#include "tools/render/Page.h"
#include "tools/render/Picture.h"
#include "tools/render/Session.h"

#include <csignal>
#include <cstdlib>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sys/resource.h>
#include <unistd.h>

// The fonts that cairo has asked for once stay in fontconfig, whatever is drawn and freed.
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions() {
    return "leak:libfontconfig";
}

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
    writer.keep();
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

/// Why this fails; empty when it does not.
template <class Action>
std::string failureOf(Action&& action) try {
    action();
    return "";
} catch (const tools::Failure& failure) {
    return failure.what();
}

/// Why the line's outputs are refused; empty when they are not.
std::string refusalOf(const std::vector<std::string>& line) {
    return failureOf([&line] { (void)resolveOutputs(parsed(line)); });
}

TEST_F(Render, NeverOverwritesAnInput) {
    for (const char* name : {"a.wav", "b.wav"})
        (void)write(name, support::noise(64, 0.25, 1));
    fs::create_symlink("a.wav", "symbolic.wav");
    for (const char* link : {"hard.wav", "hard.png"})
        fs::create_hard_link("b.wav", link);
    fs::create_directory_symlink(folder, "again");
    fs::create_directory("page");
    fs::create_symlink("../a.wav", "page/index.html");
    EXPECT_NE(refusalOf({"a.wav", "--page", "page"}).find("would overwrite"), std::string::npos);
    for (const char* output : {"a.wav", "symbolic.wav", "hard.wav", "again/b.wav", "state"})
        for (const auto& [option, word] : {std::pair{"--out", std::string("1:") + output},
                                           {"--save-state", std::string("1:") + output},
                                           {"--picture", "hard.png"}}) {
            SCOPED_TRACE(option + (' ' + word));
            EXPECT_NE(refusalOf({"a.wav", "b.wav", "--load-state", "2:state", option, word})
                          .find("would overwrite"),
                      std::string::npos);
        }
    EXPECT_NE(refusalOf({"a.wav", "a.wav"}).find("two outputs"), std::string::npos);
    EXPECT_EQ(resolveOutputs(parsed({"a.wav", "b.wav", "--out", "2:c.wav"})),
              (std::vector<fs::path>{"a-ducked.wav", "c.wav"}));
}

/// Whether the ink of two texts is less than two pixels apart.
bool touch(const render::Rect& a, const render::Rect& b) {
    return a.x < b.right() + 2 && b.x < a.right() + 2 && a.y < b.bottom() + 2 &&
           b.y < a.bottom() + 2;
}

TEST_F(Render, NoTextOfAPictureTouchesAnotherOrTheRim) {
    for (const char* name : {"a.wav", "b.wav", "alone.wav"})
        (void)write(name, support::noise(4800, 0.25, 1));
    render::RenderResult result = run({"a.wav", "b.wav", "alone.wav", "--duck", "1=off"});
    for (const char* letter : {"W", "i", "Ä"})
        for (std::string name = letter; name.size() <= 60 * std::strlen(letter); name += letter) {
            SCOPED_TRACE(name);
            for (render::TrackTrace& track : result.tracks) {
                track.name = name;
                track.peerName = track.partner ? name : "";
            }
            const render::Painter picture = paintPicture(result);
            const auto& texts = picture.texts();
            ASSERT_GT(texts.size(), 3U * 20U);
            for (auto text = texts.begin(); text != texts.end(); ++text) {
                EXPECT_TRUE(text->ink.x > 2 && text->ink.right() < 1398) << text->text;
                for (auto other = texts.begin(); other != text; ++other)
                    EXPECT_FALSE(touch(text->ink, other->ink))
                        << text->text << " | " << other->text;
            }
        }
}

TEST_F(Render, PageHoldsSoundsAlignedAndHostileNamesAsText) {
    for (const auto& [bytes, text] : {std::pair{"", ""},
                                      {"f", "Zg=="},
                                      {"fo", "Zm8="},
                                      {"foo", "Zm9v"},
                                      {"\xFF\xFE\xFD", "//79"}})
        EXPECT_EQ(render::base64(bytes), text);
    const Stereo in = support::noise(10007, 0.25, 1);
    (void)write("in.wav", in);
    const std::string name = "</script><b>'\"&@DATA@";
    const render::RenderResult result = run({"in.wav", "--raw-delay", "--name", "1:" + name});
    std::ofstream("after.flac") << render::flacOf("in-ducked.wav", 2048, 10007);
    EXPECT_LT(support::largestError(read("after.flac"), in, 0, 1, 0), 1.0 / 32768);

    render::writePage({{"", "", render::shellCommand({"x", "", "it's"}), result}}, "index.html");
    std::string page(fs::file_size("index.html"), ' ');
    std::ifstream("index.html").read(page.data(), static_cast<std::streamsize>(page.size()));
    const std::size_t from = page.find('>', page.find("<script id=\"data\"")) + 1;
    const auto data = nlohmann::json::parse(page.substr(from, page.find("</script>") - from));
    EXPECT_EQ(data[0]["command"], "x '' 'it'\\''s'");
    EXPECT_EQ(data[0]["tracks"][0]["name"], name);
    EXPECT_EQ(data[0]["tracks"][0]["after"],
              render::base64(render::flacOf("in-ducked.wav", 2048, 10007)));
}

TEST_F(Render, OvershootIsCutOffAndCounted) {
    EXPECT_EQ(write("x.wav", {{1.5, -1.5, 0.5}, {}}, 48000, SF_FORMAT_PCM_16), 2U);
    const std::vector<double> cut{1, -1, 0.5};
    EXPECT_LT(support::largestError(read("x.wav"), {cut, cut}, 0, 1, 0), 1e-3);
}

/// A folder out with one file, which whatever happens shall leave as it is.
class RenderInto : public Render {
protected:
    RenderInto() {
        (void)write("in.wav", support::noise(48000, 0.25, 1));
        fs::create_directory("out");
        std::ofstream("out/kept.wav") << "as it was";
    }
    ~RenderInto() override {
        std::string kept;
        std::getline(std::ifstream("out/kept.wav"), kept);
        EXPECT_EQ(kept, "as it was");
        EXPECT_EQ(std::distance(fs::directory_iterator("out"), {}), 1);
    }
};

TEST_F(RenderInto, RefusedItWritesNothing) {
    for (const char* whole : {"in.wav", "x.flac", "x.ogg"}) {
        (void)run({"in.wav", "--out", std::string("1:cut-") + whole});
        const std::string cut = std::string("cut-") + whole;
        fs::resize_file(cut, fs::file_size(cut) - 1);
    }
    std::ofstream("empty.wav");
    std::ofstream("text.state") << std::string(2000, 'x');
    const struct {
        std::vector<std::string> words;
        const char* message; ///< contains this
    } cases[] = {{{"cut-in.wav"}, "breaks off at 1.00 s of 1.00 s"},
                 {{"cut-x.flac"}, "breaks off at 0.9"},
                 {{"cut-x.ogg"}, "breaks off at 0."},
                 {{"empty.wav"}, "empty"},
                 {{"in.wav", "in.wav", "--out", "2:out/x.mp3"}, ".mp3"},
                 {{"in.wav", "--save-state", "1:none/x"}, "no folder none"},
                 {{"in.wav", "--load-state", "1:text.state"}, "no saved state"},
                 {{"in.wav", "--picture", "out/x.jpg"}, ".png"},
                 {{"in.wav", "--set", "1:HP=5,5"}, "like 20 Hz"},
                 {{"in.wav", "--set", "1:HP=-30abc"}, "like 20 Hz"},
                 {{"in.wav", "--set", "1:Attack=1 s"}, "like 10.0 ms"},
                 {{"in.wav", "--set", "1:LP=20.1 kHz"}, "1000 Hz to 20000 Hz"}};
    for (auto [words, message] : cases) {
        SCOPED_TRACE(message);
        words.insert(words.end(), {"--out", "1:out/kept.wav"});
        EXPECT_NE(failureOf([&] { (void)run(words); }).find(message), std::string::npos);
    }
    (void)run({"cut-x.flac", "--accept-damaged"});
    EXPECT_EQ(read("cut-x-ducked.flac").size(), 48000U);
}

/// Also where only the last block is missing, which the encoders write while they are closed.
TEST_F(RenderInto, WithoutSpaceItLeavesNothingBehind) {
    (void)write("long.wav", support::noise(480000, 0.25, 1)); // results larger than the registry
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit former{};
    getrlimit(RLIMIT_FSIZE, &former);
    for (const char* ending : {".wav", ".flac", ".ogg"}) {
        const std::string name = std::string("kept") + ending;
        (void)run({"long.wav", "--out", "1:" + name});
        const rlimit tight{fs::file_size(name) - 1, former.rlim_max};
        setrlimit(RLIMIT_FSIZE, &tight);
        EXPECT_NE(failureOf([&] {
                      (void)run({"long.wav", "--out", "1:out/" + name});
                  }).find("cannot write"),
                  std::string::npos)
            << ending;
        setrlimit(RLIMIT_FSIZE, &former);
    }
}

TEST_F(RenderInto, InterruptedItClosesItsInstancesAndLeavesNothingBehind) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const auto interrupted = [signal] {
            tools::catchInterrupts();
            std::exit(tools::runProgram("render", [signal] {
                (void)renderSession(parsed({"in.wav", "in.wav", "--out", "1:out/kept.wav", "--out",
                                            "2:out/new.wav"}),
                                    [signal](double) { std::raise(signal); });
            }));
        };
        EXPECT_EXIT(interrupted(), testing::KilledBySignal(signal), "interrupted");
        shm::RegistryMonitor monitor;
        std::vector<shm::SlotSnapshot> slots;
        ASSERT_TRUE(monitor.Attach() && monitor.ReadSlots(slots));
        EXPECT_TRUE(std::ranges::none_of(slots, &shm::SlotSnapshot::active));
    }
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

/// Word for word as they are typed after the demo, whose files have these names.
TEST_F(Render, TheManualsRecipesCanBeTyped) {
    std::ifstream manual(TD_DOCUMENTS "/manual.md");
    int recipes = 0;
    for (std::string line; std::getline(manual, line);) {
        if (!line.starts_with("    tessella-render "))
            continue;
        std::string command = line;
        while (command.ends_with('\\') && std::getline(manual, line))
            command.replace(command.size() - 1, 1, line);
        SCOPED_TRACE(command);
        std::istringstream words(command);
        const std::vector<std::string> typed{std::next(std::istream_iterator<std::string>(words)),
                                             {}};
        for (const auto& track : parsed(typed).tracks)
            (void)write(track.input.c_str(), support::noise(4800, 0.25, 1));
        EXPECT_EQ(failureOf([&typed] { (void)run(typed); }), "");
        ++recipes;
    }
    EXPECT_EQ(recipes, 4);
}

} // namespace
