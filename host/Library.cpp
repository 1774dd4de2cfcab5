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
    mHandle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (mHandle == nullptr)
        throw HostError(std::string("cannot load plug-in: ") + dlerror());
    try {
        initEntry(path);
    } catch (...) {
        dlclose(mHandle);
        throw;
    }
}

void Library::initEntry(const std::filesystem::path& path) {
    mEntry = static_cast<const clap_plugin_entry_t*>(dlsym(mHandle, "clap_entry"));
    if (mEntry == nullptr)
        refuse(path, "not a CLAP plug-in (no clap_entry)");
    if (!mEntry->init(path.c_str()))
        refuse(path, "the plug-in's entry refused to initialise");
    mFactory =
        static_cast<const clap_plugin_factory_t*>(mEntry->get_factory(CLAP_PLUGIN_FACTORY_ID));
    if (mFactory == nullptr) {
        mEntry->deinit();
        refuse(path, "no plug-in factory");
    }
}

Library::~Library() {
    mEntry->deinit();
    dlclose(mHandle);
}

std::uint32_t Library::pluginCount() const { return mFactory->get_plugin_count(mFactory); }

const clap_plugin_descriptor_t* Library::descriptor(std::uint32_t index) const {
    return mFactory->get_plugin_descriptor(mFactory, index);
}

} // namespace host
