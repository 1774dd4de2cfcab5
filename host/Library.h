/// A loaded .clap file: its entry, its factory and the descriptors in it.
#pragma once

#include "adapter/ClapRecords.h"

#include <cstdint>
#include <filesystem>
#include <stdexcept>

namespace host {

/// The one exception of this folder: a file that cannot be loaded or an instance that cannot be
/// created. what() is one line for a person. Everything later answers by results.
class HostError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Loads on construction (immediate binding, local symbols) and runs the entry's init with the
/// path; the destructor runs deinit and unloads. Outlives every Instance made from it. [main]
class Library {
public:
    /// Throws HostError when the file does not load, exports no `clap_entry`, or init or the
    /// plug-in factory is refused.
    explicit Library(const std::filesystem::path& path);
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    [[nodiscard]] const clap_plugin_entry_t& entry() const { return *clapEntry; }
    [[nodiscard]] const clap_plugin_factory_t& factory() const { return *pluginFactory; }
    [[nodiscard]] std::uint32_t pluginCount() const;
    /// Null beyond the last one. Owned by the library.
    [[nodiscard]] const clap_plugin_descriptor_t* descriptor(std::uint32_t index = 0) const;

private:
    void initEntry(const std::filesystem::path& path);

    void* handle = nullptr;
    const clap_plugin_entry_t* clapEntry = nullptr;
    const clap_plugin_factory_t* pluginFactory = nullptr;
};

} // namespace host
