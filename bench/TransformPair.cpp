#define TD_KERNEL_SET benchmarked
#define TD_KERNEL_WIDTH 8
#define TD_KERNEL_INTRINSICS
#include "bench/TransformPair.h"
#include "dsp/kernels/MirrorTile.h"

namespace {

namespace kernels = dsp::benchmarked;

template <int N>
void transform(const bench::PairMemory& memory) {
    using kernels::kWidth;
    constexpr int kRows = kernels::kRows<N>;
    auto* const rows = reinterpret_cast<kernels::Row*>(memory.work);
    const auto samples = [&memory](int, int row) {
        return kernels::Row{kernels::load(memory.left + row * kWidth),
                            kernels::load(memory.right + row * kWidth)};
    };
    kernels::forwardPasses<kRows>(samples, rows, kernels::sRoots<N>.lanes);
    for (int index = 0; index < kRows / 2 / kWidth; ++index) {
        kernels::MirrorTile<N> tile(index);
        tile.transformForward(rows);
        tile.transformBack(rows);
    }
    dsp::PairFrame frame{};
    frame.magnitude = memory.magnitude;
    frame.gain = memory.one;
    kernels::applyGainsToMiddleRow<N, true>(rows, frame);
    const kernels::Vec scale = kernels::broadcast(1.0F / N);
    const auto putBack = [&memory, scale](int, int row, kernels::Row value) {
        kernels::store(memory.left + row * kWidth, value.re * scale);
        kernels::store(memory.right + row * kWidth, value.im * scale);
    };
    kernels::inversePasses<kRows>(rows, putBack, kernels::sRoots<N>.lanes);
}

template <int N>
bench::TransformPair prepared() {
    kernels::fillRoots<N>();
    return transform<N>;
}

} // namespace

bench::TransformPair bench::transformPair(int n) {
    switch (n) {
    case 512:
        return prepared<512>();
    case 1024:
        return prepared<1024>();
    case 2048:
        return prepared<2048>();
    default:
        return prepared<4096>();
    }
}
