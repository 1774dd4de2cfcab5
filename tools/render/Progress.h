/// A progress bar for people, silent for scripts.
#pragma once

#include "tools/render/Session.h"

namespace render {

/// Draws on the standard error stream when that is a terminal, else does nothing.
[[nodiscard]] ProgressSink progressBar();

} // namespace render
