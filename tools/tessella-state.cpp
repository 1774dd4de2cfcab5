/// Shows what a saved state of the plug-in holds and what the plug-in would make of it.
#include "tools/common/StateFile.h"
#include "tools/state/Print.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>

namespace {

constexpr const char* kAbout =
    "Shows what a saved state of TessellaDuckwork holds, field by field, and what the plug-in\n"
    "would take from it. The file holds the state alone, as tessella-render --save-state writes\n"
    "it and as hosts keep it inside their projects.";
constexpr const char* kExplanation =
    "\nColumns: OFFSET bytes from the start; FIELD, \"peer:\" what this instance last set on its\n"
    "peer; VALUE as saved; REMARK what the plug-in changes, ignores or misses. Without any remark\n"
    "the state is whole.\n\n"
    "Exit code: 0 the plug-in loads all of it as it stands; 1 it cannot be read; 3 the plug-in\n"
    "refuses it; 4 the plug-in loads it, but something is missing, changed or ignored (as in\n"
    "states of early versions); above 100 wrong usage.\n\n"
    "Examples:\n"
    "  tessella-state bass.state\n"
    "  tessella-state --json - < bass.state";

enum ExitCode : int { kWhole = 0, kFailed = 1, kRefused = 3, kInPart = 4 };

int fail(const std::string& why) {
    std::fprintf(stderr, "tessella-state: %s\n", why.c_str());
    return kFailed;
}

listing::Listing look(const std::string& file) {
    const auto bytes =
        file == "-" ? statefile::read(std::cin, "standard input") : statefile::read(file);
    iplug::IByteChunk chunk;
    chunk.PutBytes(bytes.data(), bytes.size());
    return listing::list(chunk);
}

int run(int argc, char** argv) {
    CLI::App app(kAbout, "tessella-state");
    app.footer(kExplanation);
    app.set_version_flag("--version", TD_VERSION, "print the version and exit");
    std::string file;
    bool asJson = false;
    app.add_option("FILE", file, "the saved state, - for standard input")->required();
    app.add_flag("--json", asJson, "print JSON");
    CLI11_PARSE(app, argc, argv);

    const listing::Listing listing = look(file);
    const std::string text =
        asJson ? listing::json(listing) : listing::table(listing, file == "-" ? "state" : file);
    if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
        return fail("cannot write");
    if (!listing::loads(listing))
        return kRefused;
    return listing::isWhole(listing) ? kWhole : kInPart;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}
