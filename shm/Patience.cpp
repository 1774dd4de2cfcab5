#include "shm/Patience.h"

#include <chrono>
#include <thread>

namespace shm {
namespace {

thread_local Patience* tPatience = nullptr;
const std::atomic<bool> kGoingOn = true;

} // namespace

Patience::Patience(int pauses) noexcept : Patience(kGoingOn, pauses) {}

Patience::Patience(const std::atomic<bool>& goingOn, int pauses) noexcept
    : going(goingOn), pausesLeft(pauses) {
    tPatience = this;
}

Patience::~Patience() { tPatience = nullptr; }

bool PauseForLock() {
    if (Patience* const own = tPatience) {
        // Relaxed: only ends a wait earlier.
        if (own->pausesLeft <= 0 || !own->going.load(std::memory_order_relaxed))
            return false;
        --own->pausesLeft;
    }
    // Goes on with the remaining time when a signal interrupts it.
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return true;
}

} // namespace shm
