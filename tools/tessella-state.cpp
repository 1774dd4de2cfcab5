/// Shows what a saved state of the plug-in holds and what the plug-in would make of it.
#include "tools/common/Failure.h"
#include "tools/common/Program.h"
#include "tools/common/StateFile.h"
#include "tools/state/Print.h"

#include <CLI/CLI.hpp>
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
    "A file that the plug-in refuses, or that is no state, is shown all the same, and counts as\n"
    "failed. One that it loads in part (as those of early versions) does not: see the remarks, or\n"
    "\"whole\" in the JSON.\n\n"
    "Examples:\n"
    "  tessella-state bass.state\n"
    "  tessella-state --json - < bass.state\n";

listing::Listing look(const std::string& file) {
    const auto bytes =
        file == "-" ? statefile::read(std::cin, "standard input") : statefile::read(file);
    iplug::IByteChunk chunk;
    chunk.PutBytes(bytes.data(), bytes.size());
    return listing::list(chunk);
}

void run(int argc, char** argv) {
    CLI::App app(kAbout, "tessella-state");
    app.footer(std::string(kExplanation) + tools::kExitCodes);
    std::string file;
    bool asJson = false;
    app.add_option("FILE", file, "the saved state, - for standard input")->required();
    app.add_flag("--json", asJson, "print JSON");
    if (!tools::parseCommandLine(app, argc, argv))
        return;
    const listing::Listing listing = look(file);
    std::cout << (asJson ? listing::json(listing)
                         : listing::table(listing, file == "-" ? "state" : file));
    if (!listing::isState(listing))
        tools::fail(file + ": " + listing::verdict(listing));
}

} // namespace

int main(int argc, char** argv) {
    return tools::runProgram("tessella-state", [&] { run(argc, argv); });
}
