/// What keeps an instance out of the registry, and what a user can do about it.
#pragma once

namespace shm {

enum class Obstacle {
    None,      ///< nothing (any more): a newcomer gets in
    Missing,   ///< there is no registry; to an instance without slot: none could be made
    OtherUser, ///< it belongs to another user
    Foreign,   ///< it is of another version, or no registry at all
    Full,      ///< every slot has a living owner
    Busy,      ///< somebody holds its lock, or is making it just now
    Refused    ///< the system does not let us look
};

/// What stands in the way right now. Reads, and tries the lock once. [any but audio; try]
[[nodiscard]] Obstacle FindObstacle() noexcept;

/// One sentence for a person whose instance has no slot: what it is and what helps. Without full
/// stop, to go on after a colon. [any]
[[nodiscard]] const char* Explain(Obstacle obstacle) noexcept;

} // namespace shm
