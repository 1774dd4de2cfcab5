/// What busy registry locks cost in sound.
#pragma once

#include <chrono>
#include <nlohmann/json.hpp>

namespace bench {

/// Eight pairs in one process at the pace of 48 kHz, blocks of 64, an audio thread a core, four
/// editors open wherever there is a display, all of them but the pixels. Counts the blocks that
/// find the lock busy and compares the sound with that of a lap without any.
nlohmann::json missedLocks(std::chrono::seconds length);

} // namespace bench
