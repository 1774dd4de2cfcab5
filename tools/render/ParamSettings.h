/// Parameters by name and plain value.
#pragma once

#include "host/Params.h"
#include "tools/render/Options.h"

#include <string>
#include <vector>

namespace render {

/// Sends the settings of one track as value events. The plug-in turns the texts into values; its
/// own texts of minimum and maximum tell whether a number is in range. Throws tools::Failure
/// (Usage) for an unknown name, listing the known ones, for a text without number and for a value
/// out of range. `trackNumber` is for the messages. Before activation, so that nothing glides.
/// [main]
void applySettings(const host::Params& params, const std::vector<ParamSetting>& settings,
                   std::size_t trackNumber);

/// The current value in the parameter's own unit; 0 when there is no such parameter. [main]
[[nodiscard]] double plainValue(const host::Params& params, const std::string& name);

/// A table of all parameters with default and range, one a line.
[[nodiscard]] std::string describeParams(const host::Params& params);

} // namespace render
