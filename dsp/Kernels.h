#pragma once

#include <span>

namespace dsp {

/// Bytes that the largest frame takes on the stack: its complex points, spread a little.
constexpr int kMaxFrameStack = 8 * 4096 + 512;

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
    float* tailL;        ///< N/2 output samples, to which the frame's first half is added
    float* tailR;
    float* freshL; ///< N/2 output samples, overwritten with the frame's second half
    float* freshR;
    float scaleL; ///< of the output; 0 for a channel that must stay silent
    float scaleR;
};

/// One step of the gains towards what a peer's spectrum asks for, for the kernels.
/// `bins` is a multiple of 64; all arrays hold as many values and, but for the peer's, are aligned
/// to 64 bytes.
///
/// The target of a bin is (peer · inverseThreshold)^power where that product is above 1, else 1;
/// a product that is no number counts as below, an infinite one makes it 0.
struct GainGlide {
    const float* peer;             ///< magnitudes; any bit pattern
    const float* inverseThreshold; ///< 1 / magnitude, finite; 0: never reduced
    const float* power;            ///< −1 to 0
    float* gain;                   ///< 0 to 1
    float* carry;                  ///< what rounding has taken from the gains so far
    float attackCoef;              ///< part of the distance that is left, while falling
    float releaseCoef;             ///< the same while rising
    int bins;
};

/// A run of samples of a channel pair on its way in and on its way out, n each, for the kernels.
/// Outputs may be the memory of either input, but overlap nothing in part.
struct SampleRun {
    const double* inL;
    const double* inR;
    float* takenL; ///< what becomes of the inputs: NaN is 0, all else is limited to ±1e15
    float* takenR;
    const float* readyL;
    const float* readyR;
    double* outL; ///< gets readyL as it is, last
    double* outR;
    int n;
};

/// The engine's inner loops as compiled for one kind of processor. All sets do the same, to within
/// rounding. Kernels neither allocate nor wait nor keep state. [any]
struct Kernels {
    const char* name;
    void (*prepare)(); ///< fills the constants of all that follows; called by usableKernels
    /// Builds the tables of `reduceFrame` and `passFrame`, by N as those; does nothing once they
    /// stand. They are the process', not an instance's. [any but audio]
    void (*prepareSize[4])();
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
    void (*exchange)(const SampleRun& run);
    void (*widen)(const float* from, double* to, int n);  ///< no overlap
    void (*narrow)(const double* from, float* to, int n); ///< as they are; no overlap
    /// (left + right) / 2; no overlap with to.
    void (*meanOf)(const double* left, const double* right, float* to, int n);
};

/// Place of a transform size in Kernels' tables: 512 is 0, 4096 is 3. [any]
constexpr int sizeIndex(int size) { return (size > 512) + (size > 1024) + (size > 2048); }

/// The sets that this machine can run, the fastest first. Tables are built for those sizes that
/// prepareSize has been asked for. [any except audio: the first call may wait]
std::span<const Kernels* const> usableKernels();

// What the build holds, each in a file with compile options of its own. A machine may lack what a
// set is compiled for, so nobody but usableKernels chooses among them.
extern const Kernels kAvx512Kernels;
extern const Kernels kAvx2Kernels;
extern const Kernels kSseKernels;
extern const Kernels kPortableKernels;

} // namespace dsp
