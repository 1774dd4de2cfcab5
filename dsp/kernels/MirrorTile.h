/// The middle of a frame, tile by tile: last stage of the forward transform, magnitudes, gains,
/// first stage of the inverse. A tile holds W rows and their mirror images, so that both halves of
/// each pair of bins k and N − k, which the two channels share, are at hand; the spectrum as a
/// whole is never in memory.
///
/// An example with N = 8 points and, fewer than any set has, W = 2 lanes: M = N / W = 4 rows. Once
/// transformed across its lanes, row k' holds the bins k' and k' + 4; of these, 0 and 4 are their
/// own mirror images, the others form the pairs 1 and 7, 2 and 6, 3 and 5.
///
///     row 0: bins 0, 4    row 1: bins 1, 5    row 2: bins 2, 6    row 3: bins 3, 7
///
/// So row 1 is mirrored in row 3, rows 0 and 2 in themselves. The only tile takes W rows upwards
/// from row 0 and W downwards from its image: rows 0 and 1 into `up`, rows 0 and 3 into `down`.
/// There a row lies in a lane:
///
///     up[0]: bins 0, 1    up[1]: bins 4, 5    down[0]: bins 0, 7    down[1]: bins 4, 3
///
/// up[0] with down[0] makes the magnitudes 0 and 1, in the order of memory; down[1] with up[1]
/// those of 4 and 3, which are turned round. Row 2, M / 2, is left for the middle and makes bin 2
/// of the pair 2 and 6. That is each magnitude from 0 to N / 2 once.
#pragma once

#include "dsp/Kernels.h"
#include "dsp/kernels/LanePasses.h"

namespace dsp::TD_KERNEL_SET {
namespace {

/// (|L| + |R|) / 2 on twice the plain transform's scale, of a bin z of l + i·r and its mirror
/// image: L = z + conj mirrored, R = (z − conj mirrored) / i.
inline Vec meanMagnitude(Row z, Row mirrored) {
    const Row left = z + conj(mirrored);
    const Row right = z - conj(mirrored);
    return broadcast(0.5F) * (squareRoot(left.re * left.re + left.im * left.im) +
                              otherSquareRoot(right.re * right.re + right.im * right.im));
}

/// Σ of the lanes' points, each times its row of the matrix; in two sums, which do not wait for
/// each other.
inline Row product(const Row& points, const Row (&matrix)[kWidth]) {
    Row byRe{Vec{}, Vec{}}, byIm{Vec{}, Vec{}};
    for (int lane = 0; lane < kWidth; ++lane) {
        const Vec re = broadcast(points.re[lane]), im = broadcast(points.im[lane]);
        byRe = {byRe.re + matrix[lane].re * re, byRe.im + matrix[lane].im * re};
        byIm = {byIm.re + matrix[lane].im * im, byIm.im + matrix[lane].re * im};
    }
    return {byRe.re - byIm.re, byRe.im + byIm.im};
}

template <class T>
inline void scale(Complex<T>& z, Complex<T>& mirrored, T gain) {
    z = {z.re * gain, z.im * gain};
    mirrored = {mirrored.re * gain, mirrored.im * gain};
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
        spectra(
            rows, [this](int j) { return upRow(j); },
            [](Row lane, Row root) { return lane * root; }, up);
        spectra(
            rows, [this](int j) { return downRow(j); },
            [](Row lane, Row root) { return timesConj(lane, root); }, down);
    }

    /// The same, apart from what follows: with all steps of a wide tile in one function GCC runs
    /// out of registers.
    [[gnu::noinline]] void transformForwardApart(const Row* rows) { transformForward(rows); }

    /// Measures the magnitude of each pair of mirrored bins and, with kReduce, applies its gain.
    template <bool kReduce>
    [[gnu::always_inline]] void applyGains(const PairFrame& frame) {
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
        lanes(
            up, [](Row lane, Row root) { return timesConj(lane, root); },
            [this](int j) { return upRow(j); }, rows);
        lanes(
            down, [](Row lane, Row root) { return lane * root; },
            [this](int j) { return downRow(j); }, rows);
    }

private:
    /// The spectra across the lanes of the W rows at place(0), place(1) …, by one half of the tile
    /// and one part of the numbers after the other: all at once do not fit the registers.
    template <class Place, class Turn>
    [[gnu::always_inline]] void spectra(const Row* rows, const Place& place, const Turn& turned,
                                        Row (&half)[kWidth]) const {
        Vec re[kWidth], im[kWidth];
        for (int j = 0; j < kWidth; ++j)
            re[j] = rows[place(j)].re;
        transpose(re);
        for (int j = 0; j < kWidth; ++j)
            im[j] = rows[place(j)].im;
        transpose(im);
        dft<Direction::Forward, kWidth>(
            [&](int l) {
                const Row lane{re[l], im[l]};
                return l == 0 ? lane : turned(lane, roots[l]);
            },
            [&](int c, Row value) { half[c] = value; });
    }

    template <class Place, class Turn>
    [[gnu::always_inline]] void lanes(const Row (&half)[kWidth], const Turn& turned,
                                      const Place& place, Row* rows) const {
        Vec re[kWidth], im[kWidth];
        dft<Direction::Inverse, kWidth>([&](int c) { return half[c]; },
                                        [&](int l, Row value) {
                                            const Row lane =
                                                l == 0 ? value : turned(value, roots[l]);
                                            re[l] = lane.re;
                                            im[l] = lane.im;
                                        });
        transpose(re);
        for (int j = 0; j < kWidth; ++j)
            rows[place(j)].re = re[j];
        transpose(im);
        for (int j = 0; j < kWidth; ++j)
            rows[place(j)].im = im[j];
    }

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
/// c' = W − 1 − c. A single row, so transformed by a matrix, there and back.
template <int N, bool kReduce>
inline void applyGainsToMiddleRow(Row* rows, const PairFrame& frame) {
    constexpr int kRow = kRows<N> / 2;
    alignas(sizeof(Vec)) float gains[kWidth], magnitudes[kWidth];
    for (int c = 0; c < kWidth / 2; ++c)
        gains[c] = gains[kWidth - 1 - c] = frame.gain[kRows<N> * c + kRow];
    Row& row = rows[rowOf(kRow, kRows<N>)];
    const Row spectrum = product(row, sRoots<N>.middle);
    store(magnitudes, meanMagnitude(spectrum, {reversed(spectrum.re), reversed(spectrum.im)}));
    for (int c = 0; c < kWidth / 2; ++c)
        frame.magnitude[kRows<N> * c + kRow] = magnitudes[c];
    if constexpr (kReduce) {
        const Vec gain = load(gains);
        row = product({spectrum.re * gain, spectrum.im * gain}, sRoots<N>.middleBack);
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
inline void applyGains(Row* rows, const PairFrame& frame) {
    const float packed = packedMagnitude(rows[0]);
    // First: its sums wait for one another, and tiles fill the time.
    applyGainsToMiddleRow<N, kReduce>(rows, frame);
    for (int index = 0; index < kRows<N> / 2 / kWidth; ++index) {
        MirrorTile<N> tile(index);
        if constexpr (kReduce && kWidth == 16)
            tile.transformForwardApart(rows);
        else
            tile.transformForward(rows);
        tile.template applyGains<kReduce>(frame);
        if constexpr (kReduce)
            tile.transformBack(rows);
    }
    frame.magnitude[0] = packed;
}

} // namespace
} // namespace dsp::TD_KERNEL_SET
