/// The manual's recipes, as settings of the track that gives way.
#pragma once

#include "shm/TDRecords.h"

namespace demo {

/// Kick against bass: the kick keeps its level.
inline constexpr shm::Settings kBassUnderKick = {
    .bands = {.bands = {{{.loHz = 20, .hiHz = 200, .threshDb = -30, .ratio = 4},
                         {.loHz = 200, .hiHz = 5000, .threshDb = -40, .ratio = 4},
                         {.loHz = 5000, .hiHz = 20000, .threshDb = -20, .ratio = 4}}},
              .count = 3},
    .filters = {},
    .controls = {.attackMs = 1, .releaseMs = 70}};

/// Two guitars: the lead keeps its level.
inline constexpr shm::Settings kRhythmUnderLead = {
    .bands = {.bands = {{{.loHz = 20, .hiHz = 200, .threshDb = -20, .ratio = 4},
                         {.loHz = 200, .hiHz = 5000, .threshDb = -50, .ratio = 3},
                         {.loHz = 5000, .hiHz = 20000, .threshDb = -55, .ratio = 2}}},
              .count = 3},
    .filters = {},
    .controls = {.attackMs = 3, .releaseMs = 120}};

} // namespace demo
