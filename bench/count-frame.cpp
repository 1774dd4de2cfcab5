/// What callgrind counts for tools/check-instructions: count-frame KIND TIMES. Frames with all bins
/// reduced (frame-1024, frame-4096), or blocks of 64 samples or of one that complete no frame
/// (block-64, block-1).
#include "bench/FrameSetup.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

void countFrames(double rate, int times) {
    bench::FrameSetup setup(*dsp::usableKernels().front(), rate, bench::Load::Reduced);
    for (int i = 0; i < times; ++i)
        setup.run();
}

/// Of a hop of 2048 samples at 192 kHz the first 31 blocks of 64, so 31 times at most, complete no
/// frame.
void countBlocks(int samples, int times) {
    dsp::SpectralProcessor processor;
    processor.reset(192000.0);
    std::array<double, 64> left{}, right{};
    left.fill(0.25);
    const dsp::FrameSettings settings;
    for (int i = 0; i < times; ++i)
        processor.stream(settings, left.data(), right.data(), left.data(), right.data(), samples);
}

} // namespace

int main(int argc, char** argv) {
    const dsp::DenormalGuard guard;
    const std::string_view kind = argc > 2 ? argv[1] : "";
    const int times = argc > 2 ? std::atoi(argv[2]) : 0;
    if (kind == "frame-1024")
        countFrames(48000.0, times);
    else if (kind == "frame-4096")
        countFrames(192000.0, times);
    else if (kind == "block-64")
        countBlocks(64, times);
    else if (kind == "block-1")
        countBlocks(1, times);
    else
        return std::fputs("count-frame frame-1024|frame-4096|block-64|block-1 TIMES\n", stderr), 2;
    return 0;
}
