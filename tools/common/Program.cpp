#include "tools/common/Program.h"

#include "host/PrivateShm.h"
#include "tools/common/Failure.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>

namespace tools {
namespace fs = std::filesystem;
namespace {

constexpr const char* kPluginFile = "TessellaDuckwork.clap";

std::vector<fs::path> searchFolders() {
    std::vector<fs::path> folders;
    std::error_code error;
    const fs::path own = fs::read_symlink("/proc/self/exe", error).parent_path();
    folders.push_back(own);
    folders.push_back(own.parent_path() / "lib/clap"); // installed, under whatever prefix
    if (const char* home = std::getenv("HOME"))
        folders.push_back(fs::path(home) / ".clap");
    folders.emplace_back("/usr/lib/clap");
    return folders;
}

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

fs::path findPlugin(const std::optional<fs::path>& given) {
    if (given && !fs::exists(*given))
        fail(given->string() + ": no such plug-in");
    if (given)
        return fs::absolute(*given);
    for (const fs::path& folder : searchFolders())
        if (fs::exists(folder / kPluginFile))
            return folder / kPluginFile;
    fail(std::string(kPluginFile) + " not found; name it with --plugin");
}

fs::path settleIn(const std::optional<fs::path>& givenPlugin, bool privateRegistry) {
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

} // namespace tools
