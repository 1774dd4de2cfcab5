/// Why a program of this folder gives up.
#pragma once

#include <stdexcept>
#include <string>

namespace tools {

/// Exit codes of all programs.
enum class ExitCode : int { Ok = 0, Usage = 1, Failed = 2, NothingFound = 3 };

/// The same for --help.
inline constexpr const char* kExitCodes =
    "\nExit codes: 0 done; 1 something on the command line is wrong; 2 a file, the plug-in, the\n"
    "registry, the display or the output failed; 3 nothing found: no such instance; 129, 130 or\n"
    "143 ended by SIGHUP, SIGINT (Ctrl-C) or SIGTERM.";

/// Ends the program with a one-line message: Usage for what the user can put right on the command
/// line, Failed for files, plug-in and registry, NothingFound for an instance. Thrown anywhere
/// below main, caught only there.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& message)
        : std::runtime_error(message), exitCode(code) {}
    [[nodiscard]] ExitCode code() const { return exitCode; }

private:
    ExitCode exitCode;
};

[[noreturn]] inline void failUsage(const std::string& message) {
    throw Failure(ExitCode::Usage, message);
}

[[noreturn]] inline void fail(const std::string& message) {
    throw Failure(ExitCode::Failed, message);
}

} // namespace tools
