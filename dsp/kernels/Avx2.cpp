/// Kernels for AVX2 with FMA: see the compile options in dsp/CMakeLists.txt.
#define TD_KERNEL_SET avx2
#define TD_KERNEL_WIDTH 8
#define TD_KERNEL_INTRINSICS
#include "dsp/kernels/KernelSet.h"

const dsp::Kernels dsp::kAvx2Kernels = dsp::avx2::tableNamed("AVX2");
