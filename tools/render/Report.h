/// What a person reads while a rendering goes on and when it is done.
#pragma once

#include "tools/render/Session.h"

#include <ostream>

namespace render {

/// A bar on the standard error stream when that is a terminal, else nothing.
[[nodiscard]] ProgressSink progressBar();

/// A table of gain reduction, pair by pair and band by band, and how fast it went.
void printReport(std::ostream& out, const RenderResult& result);

} // namespace render
