/// This program's instances in the shared registry, seen and steered from outside.
#pragma once

#include "shm/RegistryMonitor.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace tools {

/// What a track without a slot tells its user. [main]
[[nodiscard]] std::string whyNoSlot(std::size_t trackNumber);

/// Finds the slots of the instances that this process creates, sets them up and reads them. Made
/// before the first instance; all instances are created one after another. [main]
class Registry {
public:
    Registry();

    /// The id under which the instance created last has registered; 0 when it got no slot.
    [[nodiscard]] std::uint64_t identifyNewInstance();

    /// All throw Failure when the registry does not take the change.
    void rename(std::uint64_t id, const std::string& name);
    void setDuckSelf(std::uint64_t id, bool on);
    void pair(std::uint64_t idA, std::uint64_t idB);
    /// As a peer's editor does.
    void set(std::uint64_t id, const shm::Settings& settings);

    /// Looks for a living instance of that name that is not ours until there is one; throws
    /// Failure when it does not come in time (NothingFound) or more than one has the name.
    [[nodiscard]] std::uint64_t waitForPeer(const std::string& name, double seconds);

    /// Copies all slots, for slot() to look into.
    void refresh();
    /// As of the last refresh; null when the instance is gone.
    [[nodiscard]] const shm::SlotSnapshot* slot(std::uint64_t id) const;

private:
    [[nodiscard]] std::vector<std::uint64_t> othersNamed(const std::string& name) const;

    shm::RegistryMonitor monitor;
    std::vector<shm::SlotSnapshot> slots;
    std::set<std::uint64_t> known; ///< in the registry before us, then ours as well
    std::set<std::uint64_t> own;
};

} // namespace tools
