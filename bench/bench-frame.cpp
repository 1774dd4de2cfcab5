/// Times frames against FFTW's transforms of the same size, and kernel sets against each other.
#include "bench/FrameSetup.h"
#include "bench/Interleaved.h"
#include "bench/TransformPair.h"
#include "bench/Yardstick.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>

namespace {

using bench::Contender;
using bench::FrameSetup;
using bench::Load;

void report(const char* what, int n, const bench::Ratio& ratio, std::uint32_t hash) {
    std::printf("%-44s N = %4d   %.3f  (%.3f to %.3f)   %08x\n", what, n, ratio.median, ratio.p10,
                ratio.p90, hash);
}

const dsp::Kernels* setNamed(std::string_view name) {
    return *std::ranges::find(dsp::usableKernels(), name,
                              [](const dsp::Kernels* set) { return std::string_view(set->name); });
}

/// Settles the gains, so that each further frame does the same work.
Contender contender(FrameSetup& setup) {
    for (int frame = 0; frame < 200; ++frame)
        setup.run();
    return bench::calibrated([&setup] { setup.run(); });
}

/// The transform alone; its output must be its input, whose hash is printed.
void benchPair(int n, const Contender& twoComplex) {
    struct alignas(64) Memory {
        std::array<float, 4096 + 48> left, right;
        std::array<float, dsp::kMaxFrameStack / sizeof(float)> work;
        std::array<float, 4096> magnitude, one;
    };
    const auto memory = std::make_unique<Memory>();
    for (std::size_t i = 0; i < memory->left.size(); ++i) {
        memory->left[i] = std::sin(static_cast<float>(i));
        memory->right[i] = std::cos(static_cast<float>(i * i % 99));
    }
    memory->one.fill(1.0F);
    const auto before = memory->left;
    const auto transform = bench::transformPair(n);
    const bench::PairMemory pointers{memory->left.data(), memory->right.data(), memory->work.data(),
                                     memory->magnitude.data(), memory->one.data()};
    const Contender pair = bench::calibrated([&] { transform(pointers); });
    float error = 0.0F;
    for (std::size_t i = 0; i < before.size(); ++i)
        error = std::max(error, std::abs(memory->left[i] - before[i]));
    const bench::Ratio ratio = bench::compare(pair, twoComplex);
    bench::Hash outputHash;
    outputHash.add(memory->left);
    report("transform pair / 2 complex", n, ratio, outputHash.value());
    std::printf("%-44s N = %4d   %.1e\n", "  its error after all repeats", n, double{error});
}

void benchOtherSets(double rate, const Contender& real) {
    FrameSetup ofAvx2(*setNamed("AVX2"), rate, Load::Reduced);
    const Contender avx2 = contender(ofAvx2);
    report("AVX2, all bins reduced / 4 real", ofAvx2.size, bench::compare(avx2, real),
           ofAvx2.outputHash());
    for (const char* name : {"x86-64-v2", "portable"}) {
        FrameSetup other(*setNamed(name), rate, Load::Reduced);
        const Contender theirs = contender(other);
        const std::uint32_t hash = other.outputHash();
        report((std::string(name) + " / AVX2, all bins reduced").c_str(), other.size,
               bench::compare(theirs, avx2), hash);
    }
}

void benchSize(double rate) {
    const auto sets = dsp::usableKernels();
    FrameSetup reduced(*sets[0], rate, Load::Reduced), unity(*sets[0], rate, Load::Unity),
        quiet(*sets[0], rate, Load::Quiet);
    const int n = reduced.size;
    const Contender worst = contender(reduced), passing = contender(unity), idle = contender(quiet);
    const std::uint32_t hashes[] = {reduced.outputHash(), unity.outputHash(), quiet.outputHash()};

    const bench::Yardstick yardstick(n);
    const Contender real = bench::calibrated([&yardstick] { yardstick.fourReal(); });
    report("frame, all bins reduced / 4 real", n, bench::compare(worst, real), hashes[0]);
    report("frame, no peer / 4 real", n, bench::compare(passing, real), hashes[1]);
    report("frame, quiet peer / 4 real", n, bench::compare(idle, real), hashes[2]);
    report("frame, no peer / all bins reduced", n, bench::compare(passing, worst), hashes[1]);
    benchOtherSets(rate, real);
    benchPair(n, bench::calibrated([&yardstick] { yardstick.twoComplex(); }));
}

} // namespace

int main() {
    const dsp::DenormalGuard guard; // as on an audio thread
    std::printf("kernels: %s\n", dsp::usableKernels().front()->name);
    for (const double rate : bench::kRates)
        benchSize(rate);
}
