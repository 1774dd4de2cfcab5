/// The library's CLAP entry: descriptor, factory, creation of instances.

#include "adapter/ClapRecords.h"
#include "plugin/Config.h"
#include "plugin/TessellaDuckwork.h"
#include "ui/TessellaDuckworkUI.h"

#include <cstring>
#include <mutex>
#include <optional>
#include <string>

namespace {

// Hosts call init once for each instance and deinit the same way, interleaved, and keep the address
// of the descriptor: its place never changes, and only the last deinit empties it.
std::mutex gInitMutex;   ///< guards the following; the factory reads between init and deinit
int gInitCount = 0;      ///< inits without their deinit
std::string gPluginPath; ///< what the host passed to the last clap_init
std::optional<clap_plugin_descriptor_t> gPluginDesc;

clap_plugin_descriptor_t describe() {
    // static, not const pointers: the type differs between header versions
    static const char* features[] = {CLAP_PLUGIN_FEATURE_AUDIO_EFFECT,
                                     CLAP_PLUGIN_FEATURE_COMPRESSOR, "spectral", nullptr};
    return {.clap_version = kClapVersion,
            .id = "com.Orlavenko.TessellaDuckwork",
            .name = kConfig.pluginName,
            .vendor = kConfig.manufacturerName,
            .url = "",
            .manual_url = "",
            .support_url = "",
            .version = TD_VERSION,
            .description = "Spectral dynamics processor with inter-plugin sidechain",
            .features = features};
}

bool clap_init(const char* pluginPath) noexcept try {
    const std::scoped_lock lock(gInitMutex);
    gPluginPath = pluginPath != nullptr ? pluginPath : "";
    if (gInitCount == 0)
        gPluginDesc = describe();
    ++gInitCount;
    return true;
} catch (...) {
    return false; // out of memory
}

void clap_deinit() noexcept {
    const std::scoped_lock lock(gInitMutex);
    if (gInitCount == 0 || --gInitCount > 0)
        return;
    gPluginPath.clear();
    gPluginDesc.reset();
}

std::uint32_t clap_get_plugin_count(const clap_plugin_factory_t* /*factory*/) noexcept { return 1; }

const clap_plugin_descriptor_t* clap_get_plugin_descriptor(const clap_plugin_factory_t* /*factory*/,
                                                           std::uint32_t index) noexcept {
    return index == 0 && gPluginDesc ? &*gPluginDesc : nullptr;
}

const clap_plugin_t* clap_create_plugin(const clap_plugin_factory_t* /*factory*/,
                                        const clap_host_t* host, const char* pluginId) noexcept
    try {
    if (!gPluginDesc || pluginId == nullptr || std::strcmp(pluginId, gPluginDesc->id) != 0)
        return nullptr;
    return MakePlug({.descriptor = &*gPluginDesc, .host = host}, &OpenEditor)->clapPlugin();
} catch (...) {
    return nullptr; // no instance is better than a dead host
}

constexpr clap_plugin_factory_t clap_factory = {clap_get_plugin_count, clap_get_plugin_descriptor,
                                                clap_create_plugin};

const void* clap_get_factory(const char* factoryId) noexcept {
    if (factoryId == nullptr || std::strcmp(factoryId, CLAP_PLUGIN_FACTORY_ID) != 0)
        return nullptr;
    return &clap_factory;
}

} // namespace

extern "C" __attribute__((visibility("default")))
const clap_plugin_entry_t clap_entry = {kClapVersion, clap_init, clap_deinit, clap_get_factory};
