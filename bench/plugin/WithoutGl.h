/// Editors without GL: what is left of their frames is the plug-in's own work.
#pragma once

#include <set>
#include <sys/types.h>

namespace bench {

/// Those of the editors, once each has drawn a frame. [any]
[[nodiscard]] std::set<pid_t> drawingThreads();
/// Frames that an editor's thread has drawn so far. [any]
[[nodiscard]] long framesDrawnBy(pid_t thread);

} // namespace bench
