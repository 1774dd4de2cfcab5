#pragma once

namespace bench {

/// The engine's transform of a channel pair alone, for AVX2 with FMA: the kernels' passes and tiles
/// without window, overlap-add and, but for one row, magnitudes. Forward and inverse, over itself:
/// left and right, N samples each, come out as they went in. All arrays aligned to 64 bytes.
struct PairMemory {
    float *left, *right;
    float* work;      ///< dsp::kMaxFrameStack bytes
    float* magnitude; ///< N/2 + 1
    const float* one; ///< N/2 + 1 values of 1
};
using TransformPair = void (*)(const PairMemory& memory);

/// The transform of N = 512, 1024, 2048 or 4096, its tables built.
TransformPair transformPair(int n);

} // namespace bench
