#include "dsp/Magnitudes.h"

#include "dsp/Kernels.h"

namespace dsp {

double meanMagnitude(const float* magnitudes, int count) {
    return usableKernels().front()->sumOfMagnitudes(magnitudes, count) / count;
}

} // namespace dsp
