#include "tools/render/Options.h"

#include "tools/common/Failure.h"
#include "tools/common/Program.h"

#include <CLI/CLI.hpp>

namespace render {
namespace {

constexpr const char* kDescription =
    "Ducks audio files against each other with the TessellaDuckwork plug-in, as tracks in a\n"
    "workstation would: each file runs through an instance of its own, the first is paired with\n"
    "the second, the third with the fourth, and so on. Wherever one of a pair is loud, the other\n"
    "gives way at just those frequencies. Reads WAV, FLAC, Ogg and MP3, mono or stereo, and\n"
    "writes all of them but MP3, of which the output is a WAV.\n"
    "Outputs line up with their inputs and are as long.\n";

constexpr const char* kFooter =
    "\nExamples:\n"
    "  Let a bass give way to a kick drum, and draw what happened:\n"
    "    tessella-render kick.wav bass.wav --duck 1=off --set 2:ThreshLow=-40\n"
    "        --picture duck.png\n"
    "  writes kick-ducked.wav and bass-ducked.wav beside their sources.\n\n"
    "  Two terminals as two hosts, paired through the machine's registry:\n"
    "    one:   tessella-render voice.flac --pair-with pad -o out\n"
    "    other: tessella-render pad.flac --pair-with voice -o out\n\n"
    "  Carry settings over to another sound:\n"
    "    tessella-render bass.wav --set 1:HP=60 --save-state 1:bass.state\n"
    "    tessella-render synth.wav --load-state 1:bass.state\n"
    "  tessella-state shows what such a file holds.\n\n"
    "  Render two tracks as a project keeps them, paired as they were:\n"
    "    tessella-render kick.wav bass.wav --pair states --load-state 1:kick.state\n"
    "        --load-state 2:bass.state\n\n"
    "--list-params shows the names, ranges and defaults that --set knows.\n";

/// The options that name a track, as they come from the command line.
struct RawTrackArguments {
    std::vector<std::string> inputs, sets, ducks, names, outputs, loads, saves;
};

struct RawFlags {
    bool fast = false;
    bool acceptDamaged = false;
    std::string outputFolder, plugin, picture, page, pair = "order";
};

void declareTrackOptions(CLI::App& app, RawTrackArguments& raw) {
    app.add_option("FILE", raw.inputs, "Audio files, up to 16, all of one sample rate");
    tools::addTrackOption(
        app, "--set", raw.sets, "N:NAME=VALUE",
        "Set a parameter of track N, in its own unit (10 kHz, -30 dB, 4:1, or the number alone); "
        "repeatable");
    tools::addTrackOption(app, "--duck", raw.ducks, "N=on|off",
                          "Whether track N gives way to its partner (on at first)");
    tools::addTrackOption(app, "--name", raw.names, "N:NAME",
                          "Name of track N in the registry (else its state's or its file's)");
    tools::addTrackOption(app, "--load-state", raw.loads, "N:FILE",
                          "Give track N a saved state first; --set, --duck and --name go on top");
    tools::addTrackOption(
        app, "--save-state", raw.saves, "N:FILE",
        "Save the state of track N after rendering; the name in it is the plug-in's own, not "
        "--name");
    tools::addTrackOption(app, "--out", raw.outputs, "N:FILE",
                          "Output file of track N; its ending picks the format");
}

void declareGeneralOptions(CLI::App& app, Options& options, RawFlags& raw) {
    app.add_option("-o,--output", raw.outputFolder,
                   "Folder for the outputs, NAME-ducked.EXT (else beside each input)")
        ->type_name("DIR");
    app.add_option("--picture", raw.picture, "Draw spectra and gain reduction of all tracks")
        ->type_name("FILE.png");
    app.add_option("--page", raw.page,
                   "Write DIR/index.html, to see and hear all tracks before and after; it needs no "
                   "other file")
        ->type_name("DIR");
    app.add_flag("--json", options.json, "Print the figures as JSON instead of as a table");
    app.add_option("--block", options.blockSize, "Samples a block")
        ->type_name("SIZE")
        ->check(CLI::Range(1U, kMaxBlock))
        ->capture_default_str();
    app.add_flag("--raw-delay", options.rawDelay,
                 "Keep the plug-in's delay; outputs grow longer by it");
    app.add_flag("--accept-damaged", raw.acceptDamaged,
                 "Take what there is of files that break off, then silence");
    app.add_flag("--realtime", options.realtime, "Take as long as the sound lasts");
    app.add_flag("--private", options.privateRegistry,
                 "Use a registry of one's own, unseen by an open project");
    app.add_option("--pair", raw.pair,
                   "How tracks find their partners: by the order of the files, or by themselves, "
                   "each the one that its state names")
        ->type_name("order|states")
        ->check(CLI::IsMember({"order", "states"}).description(""))
        ->capture_default_str();
    app.add_option("--pair-with", options.pairWith,
                   "Pair the one FILE with an instance that another program runs, by its name; "
                   "runs in real time")
        ->type_name("NAME");
    app.add_option("--wait", options.waitSeconds, "How long to wait for that instance")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 3600.0))
        ->capture_default_str();
    app.add_flag("--fast", raw.fast, "With --pair-with: as fast as possible instead");
    app.add_option(
           "--plugin", raw.plugin,
           "The plug-in (else beside this program or in ../lib/clap, ~/.clap, /usr/lib/clap)")
        ->type_name("FILE.clap");
    app.add_flag("--list-params", options.listParams, "Show the parameters and end");
}

ParamSetting parseSetting(const std::string& argument, const std::string& setting) {
    const std::size_t equals = setting.find('=');
    if (equals == 0 || equals == std::string::npos || equals + 1 == setting.size())
        tools::failUsage("--set " + argument +
                         ": write it as N:NAME=VALUE, for example 2:ThreshLow=-30");
    return {setting.substr(0, equals), setting.substr(equals + 1)};
}

bool parseSwitch(const std::string& argument, const std::string& word) {
    if (word != "on" && word != "off")
        tools::failUsage("--duck " + argument + ": after the = comes on or off");
    return word == "on";
}

void applyTrackArguments(Options& options, const RawTrackArguments& raw) {
    for (const std::string& input : raw.inputs)
        options.tracks.emplace_back().input = input;
    // apply(track, value, the argument as given)
    const auto each = [&options](const std::vector<std::string>& arguments, const char* name,
                                 char separator, auto apply) {
        for (const std::string& argument : arguments) {
            const auto [track, value] =
                tools::splitTrackArgument(name, argument, separator, options.tracks.size());
            apply(options.tracks[track], value, argument);
        }
    };
    using Text = const std::string&;
    each(raw.sets, "--set", ':', [](TrackOptions& track, Text value, Text argument) {
        track.settings.push_back(parseSetting(argument, value));
    });
    each(raw.ducks, "--duck", '=', [](TrackOptions& track, Text value, Text argument) {
        track.duckSelf = parseSwitch(argument, value);
    });
    each(raw.names, "--name", ':',
         [](TrackOptions& track, Text value, Text) { track.displayName = value; });
    each(raw.outputs, "--out", ':',
         [](TrackOptions& track, Text value, Text) { track.output = value; });
    each(raw.loads, "--load-state", ':',
         [](TrackOptions& track, Text value, Text) { track.loadState = value; });
    each(raw.saves, "--save-state", ':',
         [](TrackOptions& track, Text value, Text) { track.saveState = value; });
}

void applyFlags(Options& options, const RawFlags& raw) {
    const auto given = [](const std::string& text) {
        return text.empty() ? std::nullopt : std::optional<std::filesystem::path>(text);
    };
    options.outputFolder = given(raw.outputFolder);
    options.plugin = given(raw.plugin);
    options.picture = given(raw.picture);
    options.page = given(raw.page);
    options.pairByStates = raw.pair == "states";
    if (raw.acceptDamaged)
        for (TrackOptions& track : options.tracks)
            track.damaged = tools::Damaged::Accept;
    if (!options.pairWith.empty() && !raw.fast)
        options.realtime = true;
}

bool isPng(const std::filesystem::path& path) {
    const std::string ending = path.extension().string();
    return ending == ".png" || ending == ".PNG";
}

void checkTogether(const Options& options) {
    if (options.tracks.empty() && !options.listParams)
        tools::failUsage("no audio file given (--help tells how)");
    if (options.tracks.size() > kMaxTracks)
        tools::failUsage(std::to_string(options.tracks.size()) + " files given, at most " +
                         std::to_string(kMaxTracks) + " fit into the registry");
    if (options.picture && !isPng(*options.picture))
        tools::failUsage("--picture " + options.picture->string() +
                         ": pictures are PNG files: give it a name that ends in .png");
    if (!options.pairWith.empty() && options.tracks.size() != 1)
        tools::failUsage("--pair-with takes exactly one audio file");
    if (!options.pairWith.empty() && options.pairByStates)
        tools::failUsage("--pair-with names the partner: leave out --pair states");
    if (!options.pairWith.empty() && options.privateRegistry)
        tools::failUsage("--pair-with needs the common registry: leave out --private");
}

} // namespace

std::optional<Options> parseOptions(int argc, const char* const* argv) {
    Options options;
    RawTrackArguments rawTracks;
    RawFlags rawFlags;
    CLI::App app(kDescription, "tessella-render");
    app.footer(std::string(kFooter) + tools::kExitCodes);
    declareTrackOptions(app, rawTracks);
    declareGeneralOptions(app, options, rawFlags);
    if (!tools::parseCommandLine(app, argc, argv))
        return std::nullopt;
    applyTrackArguments(options, rawTracks);
    applyFlags(options, rawFlags);
    checkTogether(options);
    return options;
}

} // namespace render
