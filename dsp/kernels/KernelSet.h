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

void fillTables() {
    fillGainConstants();
    fillRoots<512>();
    fillRoots<1024>();
    fillRoots<2048>();
    fillRoots<4096>();
}

constexpr Kernels tableNamed(const char* name) {
    return {
        .name = name,
        .prepare = fillTables,
        .reduceFrame = {reduceFrame<512>, reduceFrame<1024>, reduceFrame<2048>, reduceFrame<4096>},
        .passFrame = {passFrame<512>, passFrame<1024>, passFrame<2048>, passFrame<4096>},
        .glideGains = glideGains,
        .sumOf = sumOf,
        .sumOfMagnitudes = sumOfMagnitudes,
        .isSilent = isSilent,
        .toFloat = toFloat,
        .toDouble = toDouble,
        .narrow = narrow,
        .meanOf = meanOf};
}

} // namespace
} // namespace dsp::TD_KERNEL_SET
