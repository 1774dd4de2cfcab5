/// One frame of a channel pair. Both channels get the same real gains, so they are transformed as
/// one complex signal l + i·r and need not be told apart before they come back; only magnitudes do.
#pragma once

#include "dsp/kernels/MirrorTile.h"

namespace dsp::TD_KERNEL_SET {
namespace {

/// Where the samples of a row stand within the half of the frame that they belong to.
template <int N>
inline int sampleOf(int half, int row) {
    return row * kWidth - half * (N / 2);
}

/// A row of the frame's samples, windowed.
template <int N>
inline Row windowedRow(const PairFrame& frame, int half, int row) {
    const int sample = sampleOf<N>(half, row);
    const Vec window = load(frame.window + row * kWidth);
    return Row{load((half == 0 ? frame.olderL : frame.newerL) + sample) * window,
               load((half == 0 ? frame.olderR : frame.newerR) + sample) * window};
}

/// Windows a row of the frame and adds it to the output: the first half overlaps the frame before,
/// the second is the first to get there.
template <int N>
inline void overlapAdd(const PairFrame& frame, int half, int row, Row value, Vec scaleL,
                       Vec scaleR) {
    const int sample = sampleOf<N>(half, row);
    const Vec window = load(frame.window + row * kWidth);
    const Vec left = value.re * (window * scaleL), right = value.im * (window * scaleR);
    if (half == 0) {
        store(frame.tailL + sample, load(frame.tailL + sample) + left);
        store(frame.tailR + sample, load(frame.tailR + sample) + right);
    } else {
        store(frame.freshL + sample, left);
        store(frame.freshR + sample, right);
    }
}

template <int N>
inline void analyse(const PairFrame& frame, Row* rows) {
    forwardPasses<kRows<N>>([&](int half, int row) { return windowedRow<N>(frame, half, row); },
                            rows, sRoots<N>.lanes);
}

template <int N>
inline void resynthesise(const PairFrame& frame, Row* rows) {
    const Vec scaleL = broadcast(frame.scaleL / N), scaleR = broadcast(frame.scaleR / N);
    inversePasses<kRows<N>>(
        rows,
        [&](int half, int row, Row value) {
            overlapAdd<N>(frame, half, row, value, scaleL, scaleR);
        },
        sRoots<N>.lanes);
}

/// Analyses, and overlap-adds what the inverse transform would bring back if all gains are 1: what
/// went in.
template <int N>
inline void analyseAndPass(const PairFrame& frame, Row* rows) {
    const Vec scaleL = broadcast(frame.scaleL), scaleR = broadcast(frame.scaleR);
    forwardPasses<kRows<N>>(
        [&](int half, int row) {
            const Row value = windowedRow<N>(frame, half, row);
            overlapAdd<N>(frame, half, row, value, scaleL, scaleR);
            return value;
        },
        rows, sRoots<N>.lanes);
}

/// How many rows a frame takes, those that spread it included. They lie on the stack, which is in
/// the cache, whichever instance comes next.
template <int N>
constexpr int kSpreadRows = rowOf(kRows<N> - 1, kRows<N>) + 1;
static_assert(kSpreadRows<4096> * static_cast<int>(sizeof(Row)) <= kMaxFrameStack);

/// The whole frame, with the gains applied.
template <int N>
void reduceFrame(const PairFrame& frame) {
    alignas(64) Row rows[kSpreadRows<N>];
    analyse<N>(frame, rows);
    applyGains<N, true>(rows, frame);
    resynthesise<N>(frame, rows);
}

/// The whole frame if all gains are 1.
template <int N>
void passFrame(const PairFrame& frame) {
    alignas(64) Row rows[kSpreadRows<N>];
    analyseAndPass<N>(frame, rows);
    applyGains<N, false>(rows, frame);
}

} // namespace
} // namespace dsp::TD_KERNEL_SET
