#pragma once

namespace dsp {

/// Floats of scratch that a frame of N samples takes: N complex points, spread a little.
template <int N>
constexpr int kScratch = 2 * N + 128;

/// The memory of one frame of a channel pair, N samples with 50 % overlap, for the kernels. All
/// aligned to 64 bytes. Plain pointers: the kernels are compiled for several processors and share
/// no inline function with the rest.
struct PairFrame {
    const float* olderL; ///< the frame's first N/2 samples
    const float* olderR;
    const float* newerL; ///< and its last
    const float* newerR;
    const float* window; ///< N values, applied before and after
    const float* gain;   ///< N/2 + 1 linear gains; those of DC and Nyquist are 1
    float* magnitude;    ///< to N/2 + 1 values: the mean of both channels, on twice the DFT's scale
    float* work;         ///< kScratch<N> floats of scratch
    float* tailL;        ///< N/2 output samples, to which the frame's first half is added
    float* tailR;
    float* freshL; ///< N/2 output samples, overwritten with the frame's second half
    float* freshR;
    float scaleL; ///< of the output; 0 for a channel that must stay silent
    float scaleR;
};

} // namespace dsp
