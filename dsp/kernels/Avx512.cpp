/// Kernels for x86-64-v4: AVX-512 with vectors of 256 bits, for its 32 registers and its masks. The
/// order of operations is that of the AVX2 set, and so is every bit that comes out.
#define TD_KERNEL_SET avx512
#define TD_KERNEL_WIDTH 8
#define TD_KERNEL_INTRINSICS
#include "dsp/kernels/KernelSet.h"

const dsp::Kernels dsp::kAvx512Kernels = dsp::avx512::tableNamed("AVX-512");
