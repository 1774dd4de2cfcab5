/// How long a thread waits for the registry when that never becomes free.
#pragma once

#include <atomic>

namespace shm {

/// How often a patient lock tries again.
inline constexpr int kLockRetries = 50;

/// While it lives, all patient locks of the calling thread together wait no longer than so many
/// times 10 ms, and not once `going` is false. Without one each waits its full half second: too
/// long where one after the other is taken, as in a frame of the editor. Does not nest. [main, ui]
class Patience {
public:
    explicit Patience(int pauses = kLockRetries) noexcept;
    explicit Patience(const std::atomic<bool>& goingOn, int pauses = kLockRetries) noexcept;
    ~Patience();
    /// It is used up: a lock has not been had.
    [[nodiscard]] bool IsOver() const noexcept { return pausesLeft <= 0; }
    Patience(const Patience&) = delete;
    Patience& operator=(const Patience&) = delete;

private:
    friend bool PauseForLock();

    const std::atomic<bool>& going;
    int pausesLeft;
};

/// Waits 10 ms; false, at once, when the calling thread's patience is at its end.
bool PauseForLock();

} // namespace shm
