/// Figures for a person to read.
#pragma once

#include "tools/render/Trace.h"

#include <ostream>

namespace render {

/// A table of gain reduction, pair by pair and band by band, and how fast it went.
void printReport(std::ostream& out, const RenderResult& result);

} // namespace render
