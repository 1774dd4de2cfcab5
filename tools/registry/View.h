/// The registry at one moment, as a table for people or as JSON for programs.
#pragma once

#include "shm/Obstacle.h"
#include "shm/RegistryMonitor.h"

#include <cstdint>
#include <string>
#include <vector>

namespace registry {

struct View {
    bool present = false;                 ///< There is a registry that can be read.
    shm::Obstacle obstacle{};             ///< What keeps a newcomer of this user out of it.
    bool locked = false;                  ///< The slots were copied under the lock, each whole.
    std::int64_t now = 0;                 ///< When, seconds since the Unix epoch.
    std::vector<shm::SlotSnapshot> slots; ///< All sixteen, also the free ones.
};

/// Attaches, copies and lets go. Claims no slot and waits some milliseconds at most.
View look();

/// No instance is there.
[[nodiscard]] bool isEmpty(const View& view);

/// The active slots as aligned lines, ending with a line feed; below them what keeps
/// newcomers out.
std::string table(const View& view);

/// One JSON object, valid whatever the registry holds: malformed names are repaired, numbers that
/// are not finite are null. ASCII only, so that no name steers a terminal. indent −1: one line.
std::string json(const View& view, int indent);

} // namespace registry
