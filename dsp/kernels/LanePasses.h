/// The passes of the transform within the lanes: Y_l of Plan.h and back, in place.
#pragma once

#include "dsp/kernels/Plan.h"

namespace dsp::TD_KERNEL_SET {
namespace {

inline Row broadcast(Complex<float> root) { return {broadcast(root.re), broadcast(root.im)}; }

/// One butterfly for each of the first leg's rows. source(half, row) gives a row, of the first or
/// second half of all; the result goes to rows.
template <int kLength, class Source>
inline void forwardPass(const Source& source, Row* rows, const Complex<float>* roots) {
    constexpr int kRadix = radixOf(kLength), kLeg = kLength / kRadix, kStep = legDistance(kLength);
    for (int p = 0; p < kLeg; ++p) {
        const Complex<float>* const rootOfLeg = roots + p * (kRadix - 1) - 1;
        dft<Direction::Forward, kRadix>(
            [&](int leg) { return source(2 * leg / kRadix, p + leg * kLeg); },
            [&](int leg, Row value) {
                rows[p + leg * kStep] =
                    kLeg == 1 || leg == 0 ? value : value * broadcast(rootOfLeg[leg]);
            });
    }
}

/// The same backwards: sink(half, row, value) takes the rows.
template <int kLength, class Sink>
inline void inversePass(const Row* rows, const Sink& sink, const Complex<float>* roots) {
    constexpr int kRadix = radixOf(kLength), kLeg = kLength / kRadix, kStep = legDistance(kLength);
    for (int p = 0; p < kLeg; ++p) {
        const Complex<float>* const rootOfLeg = roots + p * (kRadix - 1) - 1;
        dft<Direction::Inverse, kRadix>(
            [&](int leg) {
                const Row value = rows[p + leg * kStep];
                return kLeg == 1 || leg == 0 ? value : timesConj(value, broadcast(rootOfLeg[leg]));
            },
            [&](int leg, Row value) { sink(2 * leg / kRadix, p + leg * kLeg, value); });
    }
}

/// How many roots the pass over that length takes.
template <int kLength>
constexpr int kRootsOfPass = kLength / radixOf(kLength) * (radixOf(kLength) - 1);

/// All passes: rows of samples, in order, from source; spectra, in the order of rowOf, in rows.
/// Each leg is finished before the next is begun, and so stays in the cache.
template <int kLength, class Source>
inline void forwardPasses(const Source& source, Row* rows, const Complex<float>* roots) {
    constexpr int kRadix = radixOf(kLength), kLeg = kLength / kRadix;
    forwardPass<kLength>(source, rows, roots);
    if constexpr (kLeg > 1)
        for (int leg = 0; leg < kRadix; ++leg) {
            Row* const part = rows + leg * legDistance(kLength);
            forwardPasses<kLeg>([part](int, int row) { return part[row]; }, part,
                                roots + kRootsOfPass<kLength>);
        }
}

/// The way back, unnormalised: M times what went in.
template <int kLength, class Sink>
inline void inversePasses(Row* rows, const Sink& sink, const Complex<float>* roots) {
    constexpr int kRadix = radixOf(kLength), kLeg = kLength / kRadix;
    if constexpr (kLeg > 1)
        for (int leg = 0; leg < kRadix; ++leg) {
            Row* const part = rows + leg * legDistance(kLength);
            inversePasses<kLeg>(
                part, [part](int, int row, Row value) { part[row] = value; },
                roots + kRootsOfPass<kLength>);
        }
    inversePass<kLength>(rows, sink, roots);
}

} // namespace
} // namespace dsp::TD_KERNEL_SET
