/// A /dev/shm of one's own, so that a program never meets the live registry of the machine.
#pragma once

namespace host {

/// Moves the calling process, and the children it starts later, into a mount namespace of its own
/// with an empty /dev/shm. False when the system refuses (no user namespaces and not root): the
/// process is then unchanged and must not touch the registry. [single-threaded process only]
[[nodiscard]] bool enterPrivateShm();

} // namespace host
