#pragma once

#include <cstdio>
#include <cstdlib>

namespace fuzz {

/// Ends the run with a finding.
inline void demand(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
}

} // namespace fuzz
