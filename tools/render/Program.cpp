#include "tools/render/Program.h"

#include "host/PrivateShm.h"
#include "tools/render/Failure.h"
#include "tools/render/PluginPath.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <iostream>

namespace render {
namespace {

int exitWith(const char* name, ExitCode code, const char* message) {
    std::fprintf(stderr, "%s: %s\n", name, message);
    return static_cast<int>(code);
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

std::filesystem::path settleIn(const std::optional<std::filesystem::path>& givenPlugin,
                               bool privateRegistry) {
    auto plugin = findPlugin(givenPlugin);
    if (privateRegistry && !host::enterPrivateShm())
        fail("the system allows no private registry (needs user namespaces or root)");
    return plugin;
}

int runProgram(const char* name, const std::function<void()>& run) {
    try {
        run();
        return 0;
    } catch (const Failure& failure) {
        return exitWith(name, failure.code(), failure.what());
    } catch (const std::exception& error) {
        return exitWith(name, ExitCode::Failed, error.what());
    }
}

} // namespace render
