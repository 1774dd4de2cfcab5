#include "tools/editor/Options.h"

#include "tools/common/Failure.h"
#include "tools/common/Program.h"

#include <CLI/CLI.hpp>

#include <string>

namespace editor {
namespace {

constexpr const char* kDescription =
    "Opens the editor of one or two instances of the TessellaDuckwork plug-in, each in a window "
    "of\n"
    "its own, and plays sound through them for as long as a window is open. Each file (WAV,\n"
    "FLAC, Ogg or MP3, mono or stereo, all of one sample rate) is a track with an instance of its "
    "own and\n"
    "starts anew when it ends. Without a file, track 1 is a kick drum and track 2 a bass.\n";

constexpr const char* kFooter =
    "\nExamples:\n"
    "  Two instances, linked with each other:\n"
    "    tessella-editor --pair\n"
    "  One instance, to be paired with one in an open project:\n"
    "    tessella-editor voice.flac\n"
    "  Work on settings, and keep them:\n"
    "    tessella-editor bass.wav --load-state 1:bass.state --save-state 1:bass.state\n\n"
    "Instances see those of open projects, and are seen by them, unless --private is given.\n";

/// The options that need a second look.
struct RawArguments {
    std::vector<std::string> files, loads, saves;
    std::string plugin;
    bool one = false;
    bool noSound = false;
    bool acceptDamaged = false;
};

void declareTrackOptions(CLI::App& app, RawArguments& raw) {
    app.add_option("FILE", raw.files, "One or two audio files");
    app.add_flag("--one", raw.one, "Without a file: the bass alone");
    tools::addTrackOption(app, "--load-state", raw.loads, "N:FILE",
                          "Give track N a saved state first");
    tools::addTrackOption(app, "--save-state", raw.saves, "N:FILE",
                          "Save the state of track N at the end");
}

void declareGeneralOptions(CLI::App& app, Options& options, RawArguments& raw) {
    app.add_flag("--pair", options.pair,
                 "Link the two instances with each other; kick and bass are set as in the\n"
                 "manual's first recipe");
    app.add_option("--scale", options.scale, "Scale that the editors are told")
        ->type_name("FACTOR")
        ->check(CLI::Range(0.25, 8.0));
    app.add_option("--seconds", options.seconds, "End after so long")
        ->type_name("SECONDS")
        ->check(CLI::NonNegativeNumber);
    app.add_flag("--no-sound", raw.noSound, "Process, but leave the sound device alone");
    app.add_flag("--accept-damaged", raw.acceptDamaged,
                 "Take what there is of files that break off, then silence");
    app.add_flag("--private", options.privateRegistry,
                 "Use a registry of one's own, unseen by an open project");
    app.add_option(
           "--plugin", raw.plugin,
           "The plug-in (else beside this program or in ../lib/clap, ~/.clap, /usr/lib/clap)")
        ->type_name("FILE.clap");
}

void makeTracks(Options& options, const RawArguments& raw) {
    if (raw.files.size() > kMaxTracks)
        tools::failUsage(std::to_string(raw.files.size()) + " files given, at most " +
                         std::to_string(kMaxTracks) + " can be opened");
    if (raw.one && raw.files.size() > 1)
        tools::failUsage("--one, but two files");
    options.tracks.resize(raw.one ? 1 : kMaxTracks);
    if (!raw.files.empty())
        options.tracks.resize(raw.files.size());
    for (std::size_t i = 0; i < raw.files.size(); ++i)
        options.tracks[i].file = raw.files[i];
    if (options.pair && options.tracks.size() != 2)
        tools::failUsage("--pair needs two tracks");
}

/// The N:FILE arguments of one option, into that member of their tracks.
void applyStates(Options& options, const char* option, const std::vector<std::string>& arguments,
                 std::optional<std::filesystem::path> TrackOptions::*member) {
    for (const std::string& argument : arguments) {
        const auto [track, file] =
            tools::splitTrackArgument(option, argument, ':', options.tracks.size());
        options.tracks[track].*member = file;
    }
}

} // namespace

std::optional<Options> parseOptions(int argc, const char* const* argv) {
    Options options;
    RawArguments raw;
    CLI::App app(kDescription, "tessella-editor");
    app.footer(std::string(kFooter) + tools::kExitCodes);
    declareTrackOptions(app, raw);
    declareGeneralOptions(app, options, raw);
    if (!tools::parseCommandLine(app, argc, argv))
        return std::nullopt;
    makeTracks(options, raw);
    applyStates(options, "--load-state", raw.loads, &TrackOptions::loadState);
    applyStates(options, "--save-state", raw.saves, &TrackOptions::saveState);
    options.sound = !raw.noSound;
    options.damaged = raw.acceptDamaged ? tools::Damaged::Accept : tools::Damaged::Refuse;
    if (!raw.plugin.empty())
        options.plugin = raw.plugin;
    return options;
}

} // namespace editor
