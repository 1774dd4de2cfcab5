#pragma once

#include <cstdint>

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace dsp {

#if defined(__SSE2__)
namespace fpmode {
using Word = unsigned int;
inline constexpr Word kFlushBits = 0x8040; // flush-to-zero | denormals-are-zero
inline Word read() { return _mm_getcsr(); }
inline void write(Word mode) { _mm_setcsr(mode); }
} // namespace fpmode
#elif defined(__aarch64__)
namespace fpmode {
using Word = std::uint64_t;
inline constexpr Word kFlushBits = std::uint64_t{1} << 24; // FZ: flushes operands and results
inline Word read() {
    Word mode;
    asm volatile("mrs %0, fpcr" : "=r"(mode));
    return mode;
}
inline void write(Word mode) { asm volatile("msr fpcr, %0" : : "r"(mode)); }
} // namespace fpmode
#else
namespace fpmode {
using Word = int;
inline constexpr Word kFlushBits = 0;
inline Word read() { return 0; }
inline void write(Word) {}
} // namespace fpmode
#endif

/// While it lives, this thread's arithmetic takes and gives zero for subnormal numbers, which are a
/// hundred times slower than others; afterwards the caller's mode is back. On the stack of
/// ProcessBlock: the mode belongs to the host. No effect on unknown processors. [audio]
class DenormalGuard {
public:
    DenormalGuard() : saved(fpmode::read()) { fpmode::write(saved | fpmode::kFlushBits); }
    ~DenormalGuard() { fpmode::write(saved); }
    DenormalGuard(const DenormalGuard&) = delete;
    DenormalGuard& operator=(const DenormalGuard&) = delete;

private:
    fpmode::Word saved;
};

} // namespace dsp
