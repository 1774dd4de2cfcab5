/// Counts what the audio thread must not do. The program that links this has its allocation and
/// lock functions replaced, also for libraries that it loads.
#pragma once

namespace support {

struct Offences {
    int allocations = 0;     ///< and releases
    int locks = 0;           ///< taken without trying
    int systemCalls = 0;     ///< all but the next
    int repairs = 0;         ///< memory put where a shared object has been cut off: no more SIGBUS
    int lastSystemCall = -1; ///< number; -1: none
};

/// Makes every later system call of the calling thread count, except reading clocks and what a
/// signal handler and a thread end with. For the rest of the thread's life. False when the system
/// refuses. Calls are carried out all the same, a few microseconds slower. Only trapped calls are
/// seen: a clock read through the vDSO is none.
[[nodiscard]] bool trapSystemCalls();

/// While it lives, what the thread that made it does counts. One a thread at a time.
class RealTimeWatch {
public:
    RealTimeWatch();
    ~RealTimeWatch();
    RealTimeWatch(const RealTimeWatch&) = delete;
    RealTimeWatch& operator=(const RealTimeWatch&) = delete;

    [[nodiscard]] Offences seen() const;
};

} // namespace support
