#pragma once

namespace dsp {

/// Mean of `count` magnitudes, count > 0. A value that is none (NaN, infinite, negative: a peer's
/// come from foreign memory) counts as 0, so the mean is no greater than the greatest float. [any]
double meanMagnitude(const float* magnitudes, int count);

} // namespace dsp
