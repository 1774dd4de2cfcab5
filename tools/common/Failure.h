/// Why a program of this folder gives up.
#pragma once

#include <stdexcept>
#include <string>

namespace tools {

/// Exit codes, as --help states them.
enum class ExitCode : int { Ok = 0, Usage = 1, Failed = 2 };

/// Ends the program with a one-line message: Usage for what the user can put right on the command
/// line, Failed for files, plug-in and registry. Thrown anywhere below main, caught only there.
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
