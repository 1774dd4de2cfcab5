/// A listing as a table for people or as JSON for programs.
#pragma once

#include "tools/state/Listing.h"

#include <string>

namespace listing {

/// What the plug-in does with it, in a sentence.
[[nodiscard]] std::string verdict(const Listing& listing);

/// `title` names the state in its first line.
[[nodiscard]] std::string table(const Listing& listing, const std::string& title);

/// One JSON object, ASCII only; malformed names are repaired.
[[nodiscard]] std::string json(const Listing& listing);

} // namespace listing
