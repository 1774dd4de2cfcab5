#include "tools/registry/SlotOwner.h"

#include "shm/SegmentLayout.h"

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace registry {
namespace {

/// Addresses of user space on x86-64 end here.
constexpr std::uint64_t kAddressEnd = std::uint64_t{1} << 47;

/// Whether the process has the registry mapped, and the address in writable memory.
bool owns(pid_t pid, std::uint64_t address) {
    std::ifstream maps("/proc/" + std::to_string(pid) + "/maps");
    bool hasRegistry = false;
    bool hasAddress = false;
    for (std::string line; std::getline(maps, line);) {
        unsigned long long begin = 0;
        unsigned long long end = 0;
        char writable = '-';
        if (std::sscanf(line.c_str(), "%llx-%llx %*c%c", &begin, &end, &writable) != 3)
            continue;
        hasAddress |= writable == 'w' && begin <= address && address < end;
        hasRegistry |= line.find(std::string("/") + shm::kSegmentName) != std::string::npos;
    }
    return hasRegistry && hasAddress;
}

} // namespace

std::optional<pid_t> findOwner(std::uint64_t instanceId) {
    std::optional<pid_t> owner;
    std::error_code error;
    for (std::filesystem::directory_iterator it("/proc", error), end; !error && it != end;
         it.increment(error)) {
        const std::string name = it->path().filename();
        pid_t pid = 0;
        const auto [rest, failure] = std::from_chars(name.data(), name.data() + name.size(), pid);
        if (failure != std::errc{} || *rest != '\0')
            continue;
        const std::uint64_t address = instanceId ^ (static_cast<std::uint64_t>(pid) << 32);
        if (address >= kAddressEnd || !owns(pid, address))
            continue;
        if (owner)
            return std::nullopt;
        owner = pid;
    }
    return owner;
}

} // namespace registry
