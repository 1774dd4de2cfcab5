#include "tools/common/PluginFile.h"

#include "host/PrivateShm.h"
#include "tools/common/Failure.h"

#include <cstdlib>
#include <string>
#include <vector>

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

} // namespace

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

} // namespace tools
