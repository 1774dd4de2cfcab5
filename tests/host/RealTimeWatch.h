/// Counts what the audio thread must not do. The program that links this has its allocation and
/// lock functions replaced, also for libraries that it loads.
#pragma once

namespace support {

struct Offences {
    int allocations = 0; ///< and releases
    int locks = 0;       ///< taken without trying
    int systemCalls = 0;
    int lastSystemCall = -1; ///< number; -1: none
};

/// Makes every later system call of the calling thread fail and count as an offence, except
/// reading the clock and what ends a thread. For the rest of the thread's life. False when the
/// system refuses. Only trapped calls are seen: a clock read through the vDSO is none.
[[nodiscard]] bool trapSystemCalls();

/// While it lives, what the thread that made it does counts. One in a program at a time.
class RealTimeWatch {
public:
    RealTimeWatch();
    ~RealTimeWatch();
    RealTimeWatch(const RealTimeWatch&) = delete;
    RealTimeWatch& operator=(const RealTimeWatch&) = delete;

    [[nodiscard]] Offences seen() const;
};

} // namespace support
