/// The table of this set's kernels. To be included once, by the file of each set, which says for
/// what processors: TD_KERNEL_SET, TD_KERNEL_WIDTH and, where intrinsics may be used,
/// TD_KERNEL_INTRINSICS.
#pragma once

#include "dsp/Kernels.h"
#include "dsp/kernels/Frame.h"
#include "dsp/kernels/Gains.h"
#include "dsp/kernels/Samples.h"

namespace dsp::TD_KERNEL_SET {
namespace {

template <int N>
void prepareSize() {
    [[maybe_unused]] static const bool sDone = (fillRoots<N>(), true);
}

constexpr Kernels tableNamed(const char* name) {
    return {
        .name = name,
        .prepare = fillGainConstants,
        .prepareSize = {prepareSize<512>, prepareSize<1024>, prepareSize<2048>, prepareSize<4096>},
        .reduceFrame = {reduceFrame<512>, reduceFrame<1024>, reduceFrame<2048>, reduceFrame<4096>},
        .passFrame = {passFrame<512>, passFrame<1024>, passFrame<2048>, passFrame<4096>},
        .glideGains = glideGains,
        .sumOf = sumOf,
        .sumOfMagnitudes = sumOfMagnitudes,
        .isSilent = isSilent,
        .exchange = exchange,
        .widen = widen,
        .narrow = narrow,
        .meanOf = meanOf};
}

} // namespace
} // namespace dsp::TD_KERNEL_SET
