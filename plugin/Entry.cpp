/// The library's CLAP entry: descriptor, factory, creation of instances.

#include "adapter/ClapRecords.h"
#include "plugin/TessellaDuckwork.h"

#include <cstring>
#include <memory>
#include <string>

namespace {

std::string gPluginPath; ///< what the host passed to clap_init
std::unique_ptr<clap_plugin_descriptor_t> gPluginDesc;

bool clap_init(const char* pluginPath) noexcept try {
    // static, not const pointers: the type differs between header versions
    static const char* features[] = {CLAP_PLUGIN_FEATURE_AUDIO_EFFECT,
                                     CLAP_PLUGIN_FEATURE_COMPRESSOR, "spectral", nullptr};
    gPluginPath = pluginPath != nullptr ? pluginPath : "";
    auto desc = std::make_unique<clap_plugin_descriptor_t>();
    desc->clap_version = kClapVersion;
    desc->id = "com.Orlavenko.TessellaDuckwork";
    desc->name = "TessellaDuckwork";
    desc->vendor = "Orlavenko";
    desc->url = "";
    desc->manual_url = "";
    desc->support_url = "";
    desc->version = "1.3.2";
    desc->description = "Spectral dynamics processor with inter-plugin sidechain";
    desc->features = features;
    gPluginDesc = std::move(desc);
    return true;
} catch (...) {
    return false; // out of memory
}

void clap_deinit() noexcept {
    gPluginPath.clear();
    gPluginDesc.reset();
}

std::uint32_t clap_get_plugin_count(const clap_plugin_factory_t* /*factory*/) noexcept { return 1; }

const clap_plugin_descriptor_t* clap_get_plugin_descriptor(const clap_plugin_factory_t* /*factory*/,
                                                           std::uint32_t index) noexcept {
    return index == 0 ? gPluginDesc.get() : nullptr;
}

const clap_plugin_t* clap_create_plugin(const clap_plugin_factory_t* /*factory*/,
                                        const clap_host_t* host, const char* pluginId) noexcept
    try {
    if (gPluginDesc == nullptr || pluginId == nullptr ||
        std::strcmp(pluginId, gPluginDesc->id) != 0)
        return nullptr;
    return MakePlug({.descriptor = gPluginDesc.get(), .host = host})->clapPlugin();
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
