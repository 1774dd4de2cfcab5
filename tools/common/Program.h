/// What all programs share between their command line and their exit code.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace tools {

/// Takes the command line, with --version among the options. False when help or version was all
/// that the user wanted: it is printed. Throws Failure (Usage).
[[nodiscard]] bool parseCommandLine(CLI::App& app, int argc, const char* const* argv);

/// Declares an option that names a track, as splitTrackArgument takes it; may be repeated.
void addTrackOption(CLI::App& app, const char* name, std::vector<std::string>& arguments,
                    const char* form, const char* text);

/// Splits "N:rest" and returns N − 1 with the rest. Throws Failure (Usage) that names `option`
/// when there is no number, no colon or no such track.
[[nodiscard]] std::pair<std::size_t, std::string> splitTrackArgument(std::string_view option,
                                                                     const std::string& argument,
                                                                     char separator,
                                                                     std::size_t trackCount);

/// The body of main. What `run` throws becomes a line on standard error and the exit code; so does
/// a standard output that did not take everything. Interrupted ends it by the signal that came.
int runProgram(const char* name, const std::function<void()>& run);

} // namespace tools
