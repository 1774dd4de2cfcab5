/// tessella-demo: three pairs of sounds to hear and see the ducking by.
#include "host/PrivateShm.h"
#include "tools/common/Failure.h"
#include "tools/common/Interrupt.h"
#include "tools/common/PluginFile.h"
#include "tools/common/Program.h"
#include "tools/demo/Signals.h"
#include "tools/render/Picture.h"
#include "tools/render/Report.h"
#include "tools/render/Session.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <iostream>

namespace {

namespace fs = std::filesystem;

constexpr double kBeatSeconds = 8.0;

struct Demo {
    std::string priority;                       ///< keeps its sound
    std::string other;                          ///< gives way
    std::vector<render::ParamSetting> settings; ///< of the other
};

const Demo kKickAndBass{"kick",
                        "bass",
                        {{"ThreshLow", "-30"},
                         {"RatioLow", "4"},
                         {"ThreshMid", "-40"},
                         {"RatioMid", "4"},
                         {"Attack", "1"},
                         {"Release", "70"}}};

const Demo kSpeechOverPad{"speech",
                          "pad",
                          {{"ThreshLow", "-45"},
                           {"RatioLow", "4"},
                           {"ThreshMid", "-55"},
                           {"RatioMid", "6"},
                           {"ThreshHigh", "-55"},
                           {"RatioHigh", "4"},
                           {"Attack", "5"},
                           {"Release", "180"}}};

fs::path wav(const fs::path& folder, const std::string& name) { return folder / (name + ".wav"); }

const Demo kTwoGuitars{"lead-guitar",
                       "rhythm-guitar",
                       {{"ThreshMid", "-50"},
                        {"RatioMid", "3"},
                        {"ThreshHigh", "-55"},
                        {"RatioHigh", "2"},
                        {"Attack", "3"},
                        {"Release", "120"}}};

render::TrackOptions trackOf(const fs::path& folder, const std::string& name, bool duckSelf) {
    render::TrackOptions track;
    track.input = wav(folder, name);
    track.displayName = name;
    track.duckSelf = duckSelf;
    return track;
}

void saveMixes(const Demo& demo, const fs::path& folder) {
    const std::string name = demo.priority + "-and-" + demo.other;
    demo::saveMix(wav(folder, demo.priority), wav(folder, demo.other),
                  wav(folder, name + "-before"));
    demo::saveMix(wav(folder, demo.priority + "-ducked"), wav(folder, demo.other + "-ducked"),
                  wav(folder, name + "-after"));
}

void renderDemo(const Demo& demo, const fs::path& folder, const render::Options& common) {
    render::Options options = common;
    options.blockSize = 128; // the spectrum goes out every third block: 8 ms
    options.tracks = {trackOf(folder, demo.priority, false), trackOf(folder, demo.other, true)};
    options.tracks[1].settings = demo.settings;
    const render::RenderResult result = render::renderSession(options, render::progressBar());
    render::printReport(std::cout, result);
    const fs::path picture = folder / (demo.priority + "-and-" + demo.other + ".png");
    render::drawPicture(result, picture);
    saveMixes(demo, folder);
    std::cout << picture.string() << "\n\n";
}

void runAll(const fs::path& folder, const render::Options& common) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
        tools::fail(folder.string() + ": cannot create the folder (" + error.message() + ")");
    demo::save(demo::makeKick(kBeatSeconds), wav(folder, kKickAndBass.priority));
    demo::save(demo::makeBass(kBeatSeconds), wav(folder, kKickAndBass.other));
    renderDemo(kKickAndBass, folder, common);
    const demo::Sound speech = demo::loadSpeech();
    demo::save(speech, wav(folder, kSpeechOverPad.priority));
    demo::save(demo::makePad(demo::secondsOf(speech)), wav(folder, kSpeechOverPad.other));
    renderDemo(kSpeechOverPad, folder, common);
    demo::save(demo::makeLeadGuitar(kBeatSeconds), wav(folder, kTwoGuitars.priority));
    demo::save(demo::makeRhythmGuitar(kBeatSeconds), wav(folder, kTwoGuitars.other));
    renderDemo(kTwoGuitars, folder, common);
}

void run(int argc, char** argv) {
    CLI::App app("Makes sounds, ducks them with the TessellaDuckwork plug-in, draws what happened.",
                 "tessella-demo");
    app.footer(tools::kExitCodes);
    std::string folder = "demo";
    std::string plugin;
    app.add_option("-o,--output", folder, "Folder for everything made")->capture_default_str();
    app.add_option("--plugin", plugin, "The plug-in (else beside this program)");
    if (!tools::parseCommandLine(app, argc, argv))
        return;
    tools::catchInterrupts();
    render::Options common;
    if (!plugin.empty())
        common.plugin = plugin;
    // First: in a namespace of one's own, a chroot's programs no longer know where they lie.
    common.plugin = tools::findPlugin(common.plugin);
    if (!host::enterPrivateShm())
        std::fputs("tessella-demo: no private registry here, using the common one\n", stderr);
    runAll(folder, common);
}

} // namespace

int main(int argc, char** argv) {
    return tools::runProgram("tessella-demo", [&] { run(argc, argv); });
}
