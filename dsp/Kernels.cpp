#include "dsp/Kernels.h"

#include <vector>

namespace dsp {
namespace {

std::vector<const Kernels*> prepareUsableKernels() {
    std::vector<const Kernels*> usable;
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"))
        usable.push_back(&kAvx2Kernels);
    usable.push_back(&kSseKernels);
#endif
    usable.push_back(&kPortableKernels);
    for (const Kernels* kernels : usable)
        kernels->prepare();
    return usable;
}

} // namespace

std::span<const Kernels* const> usableKernels() {
    static const std::vector<const Kernels*> usable = prepareUsableKernels();
    return usable;
}

} // namespace dsp
