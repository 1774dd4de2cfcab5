#include "dsp/Kernels.h"

#include <vector>

namespace dsp {
namespace {

#if defined(__x86_64__)
/// All of x86-64-v4 that its name stands for, the system's support of the registers included.
bool hasAvx512() {
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512vl");
}
#endif

std::vector<const Kernels*> findUsableKernels() {
    std::vector<const Kernels*> usable;
#if defined(__x86_64__)
    if (hasAvx512())
        usable.push_back(&kAvx512Kernels);
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
    static const std::vector<const Kernels*> usable = findUsableKernels();
    return usable;
}

} // namespace dsp
