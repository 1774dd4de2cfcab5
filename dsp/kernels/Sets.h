#pragma once

#include "dsp/Kernels.h"

namespace dsp {

// What the build holds; each but the last in a file with compile options of its own.
extern const Kernels kAvx2Kernels;
extern const Kernels kSseKernels;
extern const Kernels kPortableKernels;

} // namespace dsp
