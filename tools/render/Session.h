/// A whole rendering: all tracks side by side, block by block.
#pragma once

#include "tools/render/Options.h"
#include "tools/render/Trace.h"

#include <functional>
#include <string>

namespace render {

/// Told the fraction done, 0 to 1, now and then.
using ProgressSink = std::function<void(double)>;

/// Runs everything that the options ask for, but for report and picture. Throws tools::Failure
/// and tools::Interrupted: no output has appeared then, or changed. [main]
[[nodiscard]] RenderResult renderSession(const Options& options, const ProgressSink& progress);

/// The parameter table of the plug-in.
[[nodiscard]] std::string listParams(const Options& options);

} // namespace render
