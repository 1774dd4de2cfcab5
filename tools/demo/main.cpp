/// tessella-demo: four pairs of sounds to hear and see the ducking by.
#include "host/PrivateShm.h"
#include "tools/common/Failure.h"
#include "tools/common/Interrupt.h"
#include "tools/common/PluginFile.h"
#include "tools/common/Program.h"
#include "tools/demo/Signals.h"
#include "tools/render/Options.h"
#include "tools/render/OutputPaths.h"
#include "tools/render/Page.h"
#include "tools/render/Picture.h"
#include "tools/render/Report.h"
#include "tools/render/Session.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <iostream>

namespace {

namespace fs = std::filesystem;

constexpr double kBeatSeconds = 8.0;

/// A recipe of the manual.
struct Demo {
    std::string title;
    std::string text;
    std::string priority;              ///< keeps its sound
    std::string other;                 ///< gives way
    std::vector<std::string> settings; ///< of the other
};

const Demo kKickAndBass{"Kick against bass",
                        "The kick keeps its level, the bass gives way in the lows, fast, and is "
                        "nearly back before the next beat.",
                        "kick",
                        "bass",
                        {"ThreshLow=-30", "ThreshMid=-40", "Attack=1", "Release=70"}};

const Demo kSpeechOverPad{
    "Voice over music",
    "The pad opens wherever the voice speaks, in lows and mids most, and "
    "closes gently.",
    "speech",
    "pad",
    {"ThreshLow=-45", "ThreshMid=-55", "RatioMid=6", "ThreshHigh=-55", "Attack=5", "Release=180"}};

const Demo kTwoGuitars{
    "Two guitars",
    "The rhythm guitar leaves room for the overtones of the lead, and plays on "
    "between its notes.",
    "lead-guitar",
    "rhythm-guitar",
    {"ThreshMid=-50", "RatioMid=3", "ThreshHigh=-55", "RatioHigh=2", "Attack=3", "Release=120"}};

const Demo kTablaAndGuitar{
    "Drum over guitar",
    "Two recordings: each stroke of the tabla is heard through the chord, "
    "which is back at once.",
    "tabla",
    "guitar",
    {"ThreshLow=-45", "RatioLow=3", "ThreshMid=-60", "Attack=2", "Release=60"}};

fs::path wav(const fs::path& folder, const std::string& name) { return folder / (name + ".wav"); }

std::string pairName(const Demo& demo) { return demo.priority + "-and-" + demo.other; }

/// What a person would type to get the same.
std::vector<std::string> commandOf(const Demo& demo, const fs::path& program,
                                   const fs::path& folder) {
    std::vector<std::string> words{program, wav(folder, demo.priority), wav(folder, demo.other),
                                   "--duck", "1=off"};
    for (const std::string& setting : demo.settings)
        words.insert(words.end(), {"--set", "2:" + setting});
    // Blocks of 128 samples: the spectrum goes out every third one, each 8 ms.
    words.insert(words.end(), {"--block", "128", "--picture", folder / (pairName(demo) + ".png")});
    return words;
}

render::Options optionsOf(const std::vector<std::string>& command) {
    std::vector<const char*> words;
    words.reserve(command.size());
    for (const std::string& word : command)
        words.push_back(word.c_str());
    return render::parseOptions(static_cast<int>(words.size()), words.data()).value();
}

void saveMixes(const Demo& demo, const fs::path& folder) {
    const std::string name = pairName(demo);
    demo::saveMix(wav(folder, demo.priority), wav(folder, demo.other),
                  wav(folder, name + "-before"));
    demo::saveMix(wav(folder, demo.priority + "-ducked"), wav(folder, demo.other + "-ducked"),
                  wav(folder, name + "-after"));
}

render::PageSection renderDemo(const Demo& demo, const fs::path& program, const fs::path& folder,
                               const fs::path& plugin) {
    const std::vector<std::string> command = commandOf(demo, program, folder);
    render::Options options = optionsOf(command);
    options.plugin = plugin;
    render::RenderResult result = render::renderSession(options, render::progressBar());
    render::printReport(std::cout, result);
    render::drawPicture(result, *options.picture);
    saveMixes(demo, folder);
    std::cout << options.picture->string() << "\n\n";
    return {demo.title, demo.text, render::shellCommand(command), std::move(result)};
}

/// `program`: tessella-render, as one would type it.
void runAll(const fs::path& program, const fs::path& folder, const fs::path& plugin) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
        tools::fail(folder.string() + ": cannot create the folder (" + error.message() + ")");
    const demo::Sound speech = demo::loadSpeech();
    const std::pair<std::string, demo::Sound> sounds[]{
        {kKickAndBass.priority, demo::makeKick(kBeatSeconds)},
        {kKickAndBass.other, demo::makeBass(kBeatSeconds)},
        {kSpeechOverPad.priority, speech},
        {kSpeechOverPad.other, demo::makePad(demo::secondsOf(speech))},
        {kTwoGuitars.priority, demo::makeLeadGuitar(kBeatSeconds)},
        {kTwoGuitars.other, demo::makeRhythmGuitar(kBeatSeconds)}};
    for (const auto& [name, sound] : sounds)
        demo::save(sound, wav(folder, name));
    demo::save(demo::loadTabla(), wav(folder, kTablaAndGuitar.priority), demo::kRecordingRate);
    demo::save(demo::loadGuitar(), wav(folder, kTablaAndGuitar.other), demo::kRecordingRate);
    std::vector<render::PageSection> sections;
    for (const Demo& demo : {kKickAndBass, kSpeechOverPad, kTwoGuitars, kTablaAndGuitar})
        sections.push_back(renderDemo(demo, program, folder, plugin));
    writePage(sections, render::pageFile(folder));
    std::cout << "To see and hear all of it in a browser: " << render::pageFile(folder).string()
              << '\n';
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
    // First: in a namespace of one's own, a chroot's programs no longer know where they lie.
    const fs::path found =
        tools::findPlugin(plugin.empty() ? std::nullopt : std::optional<fs::path>(plugin));
    if (!host::enterPrivateShm())
        std::fputs("tessella-demo: no private registry here, using the common one\n", stderr);
    runAll(fs::path(argv[0]).replace_filename("tessella-render"), folder, found);
}

} // namespace

int main(int argc, char** argv) {
    return tools::runProgram("tessella-demo", [&] { run(argc, argv); });
}
