/// How a transform of N complex points is cut up, and the roots of unity that this takes.
///
/// Sample s stands in lane s mod W of row s / W, W the vector width. Step 1: each lane on its own
/// transforms its M = N / W samples, all lanes alike, so without a shuffle (LanePasses.h). With
/// s = W·m + l and k = k' + M·c,
///     X[k' + M·c] = Σ_l e^(−2πi·lc/W) · e^(−2πi·lk'/N) · Y_l[k'],   Y_l[k'] = Σ_m x[W·m +
///     l]·e^(−2πi·mk'/M)
/// so step 2 multiplies row k' by roots and transforms across its lanes (MirrorTile.h).
#pragma once

#include "dsp/kernels/Complex.h"

namespace dsp::TD_KERNEL_SET {
namespace {

/// W complex points, in the course of a transform one of each lane.
using Row = Complex<Vec>;

template <int N>
constexpr int kRows = N / kWidth;

/// The first radix of a lane transform of that length: 4 until the rest is a power of 8. Where
/// there are registers for it, a last radix of 16 saves a pass.
constexpr int radixOf(int length) {
    int rest = length;
    while (rest % 8 == 0)
        rest /= 8;
    if (kWidth == 16 && rest == 2)
        return length == 16 ? 16 : 8;
    return rest == 1 ? 8 : 4;
}

/// How many rows the legs of that pass stand apart: a part of the length, and one more where that
/// would be a multiple of 4 KiB, because then all would compete for one set of the cache.
constexpr int legDistance(int length) {
    const int leg = length / radixOf(length);
    return leg * static_cast<int>(sizeof(Row)) % 4096 == 0 ? leg + 1 : leg;
}

/// The row in which the passes leave point k of the lane transforms: k's digits in reverse, as a
/// transform in place does. rowOf(a + b) = rowOf(a) + rowOf(b) where a is a multiple of W and b <
/// W.
constexpr int rowOf(int k, int length) {
    int row = 0;
    while (length > 1) {
        const int radix = radixOf(length);
        row += k % radix * legDistance(length);
        length /= radix;
        k /= radix;
    }
    return row;
}

/// rowOf as a table.
template <int N>
struct RowTable {
    std::int16_t at[kRows<N>] = {};
    constexpr RowTable() {
        for (int k = 0; k < kRows<N>; ++k)
            at[k] = static_cast<std::int16_t>(rowOf(k, kRows<N>));
    }
};
template <int N>
constexpr RowTable<N> kRowOf;

/// e^(−2πi·k/n).
inline Complex<float> rootOfUnity(int k, int n) {
    const double angle = -6.283185307179586 * k / n;
    return {static_cast<float>(__builtin_cos(angle)), static_cast<float>(__builtin_sin(angle))};
}

template <int N>
struct alignas(64) Roots {
    /// Per pass and position: e^(−2πi·pi/length) for the legs i = 1 … radix − 1.
    Complex<float> lanes[kRows<N>];
    /// Of rows k' … k' + W − 1, k' = W·tile, for lane l: e^(−2πi·l·(k' + j)/N) at [tile][l], j in
    /// lanes.
    Row across[kRows<N> / 2 / kWidth][kWidth];
    /// Row M/2, which is its own mirror image: from lanes l to c, e^(−2πi·l·(c + 1/2)/W) at [l], c
    /// in lanes; and back, the conjugate at [c], l in lanes.
    Row middle[kWidth], middleBack[kWidth];
};

template <int N>
Roots<N> sRoots;

inline void setLane(Row& row, int lane, Complex<float> value) {
    row.re[lane] = value.re;
    row.im[lane] = value.im;
}

template <int N>
void fillRoots() {
    Roots<N>& roots = sRoots<N>;
    Complex<float>* next = roots.lanes;
    for (int length = kRows<N>; radixOf(length) < length; length /= radixOf(length))
        for (int p = 0; p < length / radixOf(length); ++p)
            for (int leg = 1; leg < radixOf(length); ++leg)
                *next++ = rootOfUnity(p * leg, length);
    for (int k = 0; k < kRows<N> / 2; ++k)
        for (int lane = 0; lane < kWidth; ++lane)
            setLane(roots.across[k / kWidth][lane], k % kWidth, rootOfUnity(lane * k, N));
    for (int lane = 0; lane < kWidth; ++lane)
        for (int c = 0; c < kWidth; ++c) {
            const Complex<float> root = rootOfUnity(lane * (2 * c + 1), 2 * kWidth);
            setLane(roots.middle[lane], c, root);
            setLane(roots.middleBack[c], lane, conj(root));
        }
}

} // namespace
} // namespace dsp::TD_KERNEL_SET
