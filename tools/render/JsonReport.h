/// A rendering for scripts.
#pragma once

#include "tools/render/Trace.h"

#include <nlohmann/json_fwd.hpp>

namespace render {

/// What the table says, with all units in the names; seconds and dB to three decimals.
[[nodiscard]] nlohmann::ordered_json jsonReport(const RenderResult& result);

} // namespace render
