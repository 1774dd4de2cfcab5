/// Kernels for every x86-64 processor that this project is built for.
#define TD_KERNEL_SET sse
#define TD_KERNEL_WIDTH 4
#define TD_KERNEL_INTRINSICS
#include "dsp/kernels/KernelSet.h"

const dsp::Kernels dsp::kSseKernels = dsp::sse::tableNamed("x86-64-v2");
