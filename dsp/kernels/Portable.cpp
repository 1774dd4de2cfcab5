/// Kernels for any processor, without a word that only one understands.
#define TD_KERNEL_SET portable
#define TD_KERNEL_WIDTH 4
#include "dsp/kernels/KernelSet.h"

const dsp::Kernels dsp::kPortableKernels = dsp::portable::tableNamed("portable");
