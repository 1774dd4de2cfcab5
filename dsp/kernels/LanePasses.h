/// The passes of the transform within the lanes: Y_l of Plan.h and back, in place.
#pragma once

#include "dsp/kernels/Plan.h"

namespace dsp::TD_KERNEL_SET {
namespace {

inline Row broadcast(Complex<float> root) { return {broadcast(root.re), broadcast(root.im)}; }

/// One butterfly for each position p of each block of `length` rows: its legs stand length / radix
/// apart. source(half, row) gives a row, of the first or second half of all; the result goes to
/// rows.
template <int kLength, int kTotal, class Source>
inline void forwardPass(const Source& source, Row* rows, const Complex<float>* roots) {
    constexpr int kRadix = radixOf(kLength), kLeg = kLength / kRadix;
    for (int block = 0; block < kTotal; block += kLength)
        for (int p = 0; p < kLeg; ++p) {
            const int first = block + p;
            Row x[kRadix];
            for (int leg = 0; leg < kRadix; ++leg)
                x[leg] = source(2 * leg / kRadix, first + leg * kLeg);
            dft<Direction::Forward>(x);
            rows[first] = x[0];
            for (int leg = 1; leg < kRadix; ++leg)
                rows[first + leg * kLeg] =
                    kLeg == 1 ? x[leg] : x[leg] * broadcast(roots[p * (kRadix - 1) + leg - 1]);
        }
}

/// The same backwards: sink(half, row, value) takes the rows.
template <int kLength, int kTotal, class Sink>
inline void inversePass(const Row* rows, const Sink& sink, const Complex<float>* roots) {
    constexpr int kRadix = radixOf(kLength), kLeg = kLength / kRadix;
    for (int block = 0; block < kTotal; block += kLength)
        for (int p = 0; p < kLeg; ++p) {
            const int first = block + p;
            Row x[kRadix];
            x[0] = rows[first];
            for (int leg = 1; leg < kRadix; ++leg) {
                const Row value = rows[first + leg * kLeg];
                x[leg] = kLeg == 1 ? value
                                   : timesConj(value, broadcast(roots[p * (kRadix - 1) + leg - 1]));
            }
            dft<Direction::Inverse>(x);
            for (int leg = 0; leg < kRadix; ++leg)
                sink(2 * leg / kRadix, first + leg * kLeg, x[leg]);
        }
}

/// How many roots the pass over that length takes.
template <int kLength>
constexpr int kRootsOfPass = kLength / radixOf(kLength) * (radixOf(kLength) - 1);

/// All passes: rows of samples, in order, from source; spectra, in the order of rowOf, in rows.
template <int kLength, int kTotal, class Source>
inline void forwardPasses(const Source& source, Row* rows, const Complex<float>* roots) {
    forwardPass<kLength, kTotal>(source, rows, roots);
    if constexpr (kLength > radixOf(kLength))
        forwardPasses<kLength / radixOf(kLength), kTotal>(
            [rows](int, int row) { return rows[row]; }, rows, roots + kRootsOfPass<kLength>);
}

/// The way back, unnormalised: M times what went in.
template <int kLength, int kTotal, class Sink>
inline void inversePasses(Row* rows, const Sink& sink, const Complex<float>* roots) {
    if constexpr (kLength > radixOf(kLength))
        inversePasses<kLength / radixOf(kLength), kTotal>(
            rows, [rows](int, int row, Row value) { rows[row] = value; },
            roots + kRootsOfPass<kLength>);
    inversePass<kLength, kTotal>(rows, sink, roots);
}

} // namespace
} // namespace dsp::TD_KERNEL_SET
