/// Which process an instance id belongs to. For tools on the same machine.
#pragma once

#include <cstdint>
#include <optional>
#include <sys/types.h>

namespace registry {

/// The process of an instance. An id is (pid << 32) XOR the address of a handle, whose upper bits
/// disturb the pid: so every process is tried that has the registry mapped and whose pid leaves
/// the id an address in its writable memory. nullopt when there is no such process, more than
/// one, or its memory map may not be read (another user's process, another pid namespace).
/// Reads /proc: slow, allocates. [any but audio]
std::optional<pid_t> findOwner(std::uint64_t instanceId);

} // namespace registry
