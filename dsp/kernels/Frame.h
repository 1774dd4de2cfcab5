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

template <int N>
inline void analyse(const PairFrame& frame, Row* rows) {
    const auto windowedSamples = [&frame](int half, int row) {
        const int sample = sampleOf<N>(half, row);
        const Vec window = load(frame.window + row * kWidth);
        return Row{load((half == 0 ? frame.olderL : frame.newerL) + sample) * window,
                   load((half == 0 ? frame.olderR : frame.newerR) + sample) * window};
    };
    forwardPasses<kRows<N>, kRows<N>>(windowedSamples, rows, sRoots<N>.lanes);
}

/// Adds a row of the frame to the output: the first half overlaps the frame before, the second is
/// the first to get there.
template <int N>
inline void overlapAdd(const PairFrame& frame, int half, int row, Vec left, Vec right) {
    const int sample = sampleOf<N>(half, row);
    if (half == 0) {
        store(frame.tailL + sample, load(frame.tailL + sample) + left);
        store(frame.tailR + sample, load(frame.tailR + sample) + right);
    } else {
        store(frame.freshL + sample, left);
        store(frame.freshR + sample, right);
    }
}

template <int N>
inline void resynthesise(const PairFrame& frame, Row* rows) {
    const Vec scaleL = broadcast(frame.scaleL / N), scaleR = broadcast(frame.scaleR / N);
    const auto addWindowed = [&](int half, int row, Row value) {
        const Vec window = load(frame.window + row * kWidth);
        overlapAdd<N>(frame, half, row, value.re * (window * scaleL), value.im * (window * scaleR));
    };
    inversePasses<kRows<N>, kRows<N>>(rows, addWindowed, sRoots<N>.lanes);
}

/// What the inverse transform would bring back if all gains are 1: the samples, windowed twice.
template <int N>
inline void overlapAddInput(const PairFrame& frame) {
    for (int half = 0; half < 2; ++half) {
        const float* const left = half == 0 ? frame.olderL : frame.newerL;
        const float* const right = half == 0 ? frame.olderR : frame.newerR;
        for (int row = half * kRows<N> / 2; row < (half + 1) * kRows<N> / 2; ++row) {
            const int sample = sampleOf<N>(half, row);
            const Vec window = load(frame.window + row * kWidth);
            overlapAdd<N>(frame, half, row, load(left + sample) * (window * window * frame.scaleL),
                          load(right + sample) * (window * window * frame.scaleR));
        }
    }
}

/// The whole frame, with the gains applied.
template <int N>
void reduceFrame(const PairFrame& frame) {
    Row* const rows = reinterpret_cast<Row*>(frame.work);
    analyse<N>(frame, rows);
    treatSpectrum<N, true>(rows, frame);
    resynthesise<N>(frame, rows);
}

/// The whole frame if all gains are 1.
template <int N>
void passFrame(const PairFrame& frame) {
    Row* const rows = reinterpret_cast<Row*>(frame.work);
    analyse<N>(frame, rows);
    treatSpectrum<N, false>(rows, frame);
    overlapAddInput<N>(frame);
}

} // namespace
} // namespace dsp::TD_KERNEL_SET
