/// The middle of a frame, tile by tile: last stage of the forward transform, magnitudes, gains,
/// first stage of the inverse. A tile holds W rows and their mirror images, so that both halves of
/// each pair of bins k and N − k, which the two channels share, are at hand; the spectrum as a
/// whole is never in memory.
#pragma once

#include "dsp/PairFrame.h"
#include "dsp/kernels/LanePasses.h"

namespace dsp::TD_KERNEL_SET {
namespace {

/// (|L| + |R|) / 2 on twice the plain transform's scale, of a bin z of l + i·r and its mirror
/// image: L = z + conj mirrored, R = (z − conj mirrored) / i.
template <class T>
inline T meanMagnitude(Complex<T> z, Complex<T> mirrored) {
    const Complex<T> left = z + conj(mirrored);
    const Complex<T> right = z - conj(mirrored);
    return broadcastLike(T{}, 0.5F) * (squareRoot(left.re * left.re + left.im * left.im) +
                                       squareRoot(right.re * right.re + right.im * right.im));
}

template <class T>
inline void scale(Complex<T>& z, Complex<T>& mirrored, T gain) {
    z = {z.re * gain, z.im * gain};
    mirrored = {mirrored.re * gain, mirrored.im * gain};
}

[[gnu::always_inline]] inline void transpose(Row (&rows)[kWidth]) {
    Vec re[kWidth], im[kWidth];
    for (int i = 0; i < kWidth; ++i) {
        re[i] = rows[i].re;
        im[i] = rows[i].im;
    }
    transpose(re);
    transpose(im);
    for (int i = 0; i < kWidth; ++i)
        rows[i] = {re[i], im[i]};
}

/// Lane j of up[c] is bin M·c + first + j, that of down[c] bin M·c − first − j; modulo N.
template <int N>
class MirrorTile {
public:
    explicit MirrorTile(int index)
        : first(index * kWidth), upAt(kRowOf<N>.at[first]),
          downAt(kRowOf<N>.at[kRows<N> - first - kWidth]),
          downStart(first == 0 ? 0 : kRowOf<N>.at[kRows<N> - first]),
          roots(sRoots<N>.across[index]) {}

    [[gnu::always_inline]] void transformForward(const Row* rows) {
        for (int j = 0; j < kWidth; ++j) {
            up[j] = rows[upRow(j)];
            down[j] = rows[downRow(j)];
        }
        transpose(up);
        transpose(down);
        for (int lane = 1; lane < kWidth; ++lane) {
            up[lane] = up[lane] * roots[lane];
            down[lane] = timesConj(down[lane], roots[lane]);
        }
        dft<Direction::Forward>(up);
        dft<Direction::Forward>(down);
    }

    /// Every pair of mirrored bins once: its magnitude and, with kReduce, its gain.
    template <bool kReduce>
    [[gnu::always_inline]] void treat(const PairFrame& frame) {
        for (int c = 0; c < kHalf; ++c) {
            const int bin = kRows<N> * c + first;
            Row &z = up[c], &mirrored = down[(kWidth - c) % kWidth];
            store(frame.magnitude + bin, meanMagnitude(z, mirrored));
            if constexpr (kReduce)
                scale(z, mirrored, load(frame.gain + bin));
        }
        for (int c = 1; c <= kHalf; ++c) {
            const int lastBin = kRows<N> * c - first - (kWidth - 1);
            Row &z = down[c], &mirrored = up[kWidth - c];
            storeAnywhere(frame.magnitude + lastBin, reversed(meanMagnitude(z, mirrored)));
            if constexpr (kReduce)
                scale(z, mirrored, reversed(loadAnywhere(frame.gain + lastBin)));
        }
    }

    [[gnu::always_inline]] void transformBack(Row* rows) {
        dft<Direction::Inverse>(up);
        dft<Direction::Inverse>(down);
        for (int lane = 1; lane < kWidth; ++lane) {
            up[lane] = timesConj(up[lane], roots[lane]);
            down[lane] = down[lane] * roots[lane];
        }
        transpose(up);
        transpose(down);
        for (int j = 0; j < kWidth; ++j) {
            rows[upRow(j)] = up[j];
            rows[downRow(j)] = down[j];
        }
    }

private:
    static constexpr int kHalf = kWidth / 2;

    [[nodiscard]] int upRow(int j) const { return upAt + kRowOf<N>.at[j]; }
    [[nodiscard]] int downRow(int j) const {
        return j == 0 ? downStart : downAt + kRowOf<N>.at[kWidth - j];
    }

    int first;                   ///< row of the first lane
    int upAt, downAt, downStart; ///< places of the rows first, M − first − W and M − first
    const Row* roots;
    Row up[kWidth], down[kWidth];
};

/// Row M/2, which no tile holds because it is its own mirror image: bin M·c + M/2 is mirrored at
/// c' = W − 1 − c. A single row, so done in scalars.
template <int N, bool kReduce>
inline void treatMiddleRow(Row* rows, const PairFrame& frame) {
    Row& row = rows[rowOf(kRows<N> / 2, kRows<N>)];
    const Complex<float>* const roots = sRoots<N>.middle;
    Complex<float> x[kWidth];
    for (int lane = 0; lane < kWidth; ++lane)
        x[lane] = Complex<float>{row.re[lane], row.im[lane]} * roots[lane];
    dft<Direction::Forward>(x);
    for (int c = 0; c < kWidth / 2; ++c) {
        const int bin = kRows<N> * c + kRows<N> / 2;
        frame.magnitude[bin] = meanMagnitude(x[c], x[kWidth - 1 - c]);
        if (kReduce)
            scale(x[c], x[kWidth - 1 - c], frame.gain[bin]);
    }
    if (!kReduce)
        return;
    dft<Direction::Inverse>(x);
    for (int lane = 0; lane < kWidth; ++lane) {
        const Complex<float> value = timesConj(x[lane], roots[lane]);
        row.re[lane] = value.re;
        row.im[lane] = value.im;
    }
}

/// The magnitude of bin 0 as a real transform packs it: DC as real, Nyquist as imaginary part.
/// Row 0 holds what the lanes contribute to both, the latter with alternating signs.
inline float packedMagnitude(Row row) {
    Complex<float> dc(0, 0), nyquist(0, 0);
    for (int lane = 0; lane < kWidth; ++lane) {
        const Complex<float> value{row.re[lane], row.im[lane]};
        dc = dc + value;
        nyquist = lane % 2 == 0 ? nyquist + value : nyquist - value;
    }
    return squareRoot(dc.re * dc.re + nyquist.re * nyquist.re) +
           squareRoot(dc.im * dc.im + nyquist.im * nyquist.im);
}

/// From the lanes' spectra to magnitudes and, with kReduce, to the lanes' reduced spectra.
template <int N, bool kReduce>
inline void treatSpectrum(Row* rows, const PairFrame& frame) {
    const float packed = packedMagnitude(rows[0]);
    for (int index = 0; index < kRows<N> / 2 / kWidth; ++index) {
        MirrorTile<N> tile(index);
        tile.transformForward(rows);
        tile.template treat<kReduce>(frame);
        if constexpr (kReduce)
            tile.transformBack(rows);
    }
    treatMiddleRow<N, kReduce>(rows, frame);
    frame.magnitude[0] = packed;
}

} // namespace
} // namespace dsp::TD_KERNEL_SET
