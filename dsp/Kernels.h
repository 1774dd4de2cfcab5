#pragma once

#include "dsp/GainGlide.h"
#include "dsp/PairFrame.h"

#include <span>

namespace dsp {

/// The engine's inner loops as compiled for one kind of processor. All sets do the same, to within
/// rounding. Kernels neither allocate nor wait nor keep state. [any]
struct Kernels {
    const char* name;
    void (*prepare)(); ///< builds the tables of `reduceFrame` and `passFrame`
    /// One frame of N samples, the gains applied; by N: 512, 1024, 2048, 4096, see sizeIndex.
    void (*reduceFrame[4])(const PairFrame& frame);
    /// The same for gains that are all 1: for less than half the work.
    void (*passFrame[4])(const PairFrame& frame);
    /// One step of all gains. True if all are 1 now.
    bool (*glideGains)(const GainGlide& glide);
    float (*sumOf)(const float* values, int n);
    /// The same of those that are finite and not negative.
    double (*sumOfMagnitudes)(const float* values, int n);
    /// Whether all values are 0; n is a multiple of 64, the values aligned to 64 bytes.
    bool (*isSilent)(const float* values, int n);
    /// Samples to single precision: NaN becomes 0, all else is limited to ±1e15. No overlap.
    void (*toFloat)(const double* from, float* to, int n);
    void (*toDouble)(const float* from, double* to, int n); ///< no overlap
    void (*narrow)(const double* from, float* to, int n);   ///< as they are; no overlap
    /// (left + right) / 2; no overlap with to.
    void (*meanOf)(const double* left, const double* right, float* to, int n);
};

/// Place of a transform size in Kernels' tables: 512 is 0, 4096 is 3. [any]
constexpr int sizeIndex(int size) { return (size > 512) + (size > 1024) + (size > 2048); }

/// The sets that this machine can run, the fastest first; their tables are built. [any except
/// audio: the first call computes and may wait]
std::span<const Kernels* const> usableKernels();

} // namespace dsp
