/// What the programs that load the plug-in share between their command line and their exit code.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>

namespace CLI {
class App;
}

namespace render {

/// Takes the command line, with --version among the options. False when help or version was all
/// that the user wanted: it is printed. Throws Failure (Usage).
[[nodiscard]] bool parseCommandLine(CLI::App& app, int argc, const char* const* argv);

/// Finds the plug-in file, then, if wanted, enters a registry of one's own. In this order: in a
/// namespace of one's own a chroot's programs no longer know where they lie. Throws Failure.
[[nodiscard]] std::filesystem::path
settleIn(const std::optional<std::filesystem::path>& givenPlugin, bool privateRegistry);

/// The body of main. What `run` throws becomes a line on standard error and the exit code.
int runProgram(const char* name, const std::function<void()>& run);

} // namespace render
