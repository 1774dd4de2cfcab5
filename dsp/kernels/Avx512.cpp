/// Kernels for x86-64-v4: AVX-512.
#define TD_KERNEL_SET avx512
#define TD_KERNEL_WIDTH 16
#define TD_KERNEL_INTRINSICS
#include "dsp/kernels/KernelSet.h"

const dsp::Kernels dsp::kAvx512Kernels = dsp::avx512::tableNamed("AVX-512");
