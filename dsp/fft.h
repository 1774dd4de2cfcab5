#pragma once

#include <cstdint>

/// Real Fourier transform in single precision for sizes that are powers of two from 2 to 4096.
/// Plain code for displays and tools; the engine's frames have faster transforms of their own.
/// No allocation, no lock and no state but the read-only tables, so that any number of threads may
/// transform at the same time. Scratch is on the stack: 32 KiB.
namespace dsp::fft {

inline constexpr int kMaxSize = 4096;

/// Builds the tables for all sizes. Must have returned once before the first transform; further
/// calls, also at the same time, do nothing. [any except audio: the first call computes and may
/// wait]
void initTables();

/// Pair index of each of the n/2 bins of a transform of size n. This transform delivers its bins in
/// natural order, so binOrder(n)[k] = k. The table lives for ever. [any]
const std::int32_t* binOrder(int n);

/// Real forward transform of data[0..n), in place. [any]
/// Scale: twice the plain DFT, X[k] = 2 · Σ x[i]·e^(−2πi·ik/n), so inverseReal(forwardReal(x)) =
/// 2n·x. Output: n/2 complex pairs; bin k is pair binOrder(n)[k]; bin 0 packs DC (re) with Nyquist
/// (im). initTables() must have run. Cannot fail.
void forwardReal(float* data, int n);

/// Inverse of data[0..n) as forwardReal leaves it, in place, to n real samples. [any]
/// Unnormalised: multiply the result by 0.5/n to have back what went into forwardReal.
/// initTables() must have run. Cannot fail.
void inverseReal(float* data, int n);

} // namespace dsp::fft
