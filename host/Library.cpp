#include "host/Library.h"

#include <dlfcn.h>
#include <string>

namespace host {
namespace {

[[noreturn]] void refuse(const std::filesystem::path& path, const char* why) {
    throw HostError(path.string() + ": " + why);
}

} // namespace

Library::Library(const std::filesystem::path& path) {
    handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr)
        throw HostError(std::string("cannot load plug-in: ") + dlerror());
    try {
        initEntry(path);
    } catch (...) {
        dlclose(handle);
        throw;
    }
}

void Library::initEntry(const std::filesystem::path& path) {
    clapEntry = static_cast<const clap_plugin_entry_t*>(dlsym(handle, "clap_entry"));
    if (clapEntry == nullptr)
        refuse(path, "not a CLAP plug-in (no clap_entry)");
    if (!clapEntry->init(path.c_str()))
        refuse(path, "the plug-in's entry refused to initialise");
    pluginFactory =
        static_cast<const clap_plugin_factory_t*>(clapEntry->get_factory(CLAP_PLUGIN_FACTORY_ID));
    if (pluginFactory == nullptr) {
        clapEntry->deinit();
        refuse(path, "no plug-in factory");
    }
}

Library::~Library() {
    clapEntry->deinit();
    dlclose(handle);
}

std::uint32_t Library::pluginCount() const {
    return pluginFactory->get_plugin_count(pluginFactory);
}

const clap_plugin_descriptor_t* Library::descriptor(std::uint32_t index) const {
    return pluginFactory->get_plugin_descriptor(pluginFactory, index);
}

} // namespace host
