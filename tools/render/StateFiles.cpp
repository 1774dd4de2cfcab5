#include "tools/render/StateFiles.h"

#include "host/Extensions.h"
#include "tools/common/StateFile.h"
#include "tools/render/Failure.h"

#include <exception>
#include <string>
#include <vector>

namespace render {
namespace {

std::string trackText(std::size_t number) { return "track " + std::to_string(number) + ": "; }

} // namespace

void loadStateFile(const host::Instance& instance, const std::filesystem::path& path,
                   std::size_t trackNumber) {
    std::vector<std::uint8_t> bytes;
    try {
        bytes = statefile::read(path);
    } catch (const std::exception& error) {
        fail(trackText(trackNumber) + error.what());
    }
    if (!host::loadState(instance, bytes))
        fail(trackText(trackNumber) + "the plug-in refused the state " + path.string() +
             " (tessella-state tells why)");
}

void saveStateFile(const host::Instance& instance, const std::filesystem::path& path,
                   std::size_t trackNumber) {
    const auto bytes = host::saveState(instance);
    if (!bytes)
        fail(trackText(trackNumber) + "the plug-in saved no state");
    try {
        statefile::write(path, *bytes);
    } catch (const std::exception& error) {
        fail(trackText(trackNumber) + error.what());
    }
}

} // namespace render
