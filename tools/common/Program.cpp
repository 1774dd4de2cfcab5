#include "tools/common/Program.h"

#include "tools/common/Failure.h"
#include "tools/common/Interrupt.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <unistd.h>

namespace tools {
namespace {

/// On a terminal in the place of a progress bar.
void say(const char* name, const char* message) {
    const char* const cleared = isatty(STDERR_FILENO) == 1 ? "\r\033[K" : "";
    std::fprintf(stderr, "%s%s: %s\n", cleared, name, message);
}

int exitWith(const char* name, ExitCode code, const char* message) {
    say(name, message);
    return static_cast<int>(code);
}

/// By the signal itself, which a shell shows as 128 more than its number: only so does a loop in a
/// script end with the program that the user has interrupted.
int endBy(int signal) {
    std::signal(signal, SIG_DFL);
    std::raise(signal);
    return 128 + signal;
}

void requireOutput() {
    std::cout.flush();
    if (!std::cout || std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
        fail("cannot write to the standard output");
}

} // namespace

bool parseCommandLine(CLI::App& app, int argc, const char* const* argv) {
    app.set_version_flag("--version", TD_VERSION, "Print the version and exit");
    try {
        app.parse(argc, argv);
        return true;
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
    } catch (const CLI::CallForVersion&) {
        std::cout << app.version() << '\n';
    } catch (const CLI::ParseError& error) {
        failUsage(error.what());
    }
    return false;
}

void addTrackOption(CLI::App& app, const char* name, std::vector<std::string>& arguments,
                    const char* form, const char* text) {
    app.add_option(name, arguments, text)->type_name(form)->expected(1)->take_all();
}

std::pair<std::size_t, std::string> splitTrackArgument(std::string_view option,
                                                       const std::string& argument, char separator,
                                                       std::size_t trackCount) {
    const std::string where = std::string(option) + " " + argument + ": ";
    std::size_t number = 0;
    const char* const end = argument.data() + argument.size();
    const auto [rest, error] = std::from_chars(argument.data(), end, number);
    if (error != std::errc{} || rest == end || *rest != separator || rest + 1 == end)
        failUsage(where + "begins with a track number and '" + separator + "', then a value");
    if (number < 1 || number > trackCount)
        failUsage(where + "there is no track " + std::to_string(number) + ", only " +
                  std::to_string(trackCount));
    return {number - 1, std::string(rest + 1, end)};
}

int runProgram(const char* name, const std::function<void()>& run) {
    try {
        run();
        requireOutput();
        return 0;
    } catch (const Interrupted& interrupted) {
        say(name, interrupted.what());
        return endBy(interrupted.signal());
    } catch (const Failure& failure) {
        return exitWith(name, failure.code(), failure.what());
    } catch (const std::exception& error) {
        return exitWith(name, ExitCode::Failed, error.what());
    }
}

} // namespace tools
