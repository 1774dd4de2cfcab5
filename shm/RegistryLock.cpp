#include "shm/RegistryLock.h"

#include <cerrno>
#include <chrono>
#include <thread>

namespace shm {
namespace {

thread_local LockBudget* tBudget = nullptr;
const std::atomic<bool> kGoing = true;

/// Whether the bytes are a mutex such as builds make, robust or not. With other kinds the C library
/// may end the process: it asserts, or uses instructions that the processor lacks.
bool IsUsual(const pthread_mutex_t& mutex) {
    constexpr int kRobust = 16, kShared = 128; // as the C library keeps them: no call tells
    return (mutex.__data.__kind & ~(kRobust | kShared)) == PTHREAD_MUTEX_NORMAL;
}

} // namespace

TryLock::TryLock(RegistrySegment* locked) noexcept
    : segment(locked != nullptr && IsReady(*locked) ? locked : nullptr) {
    Try();
}

TryLock::~TryLock() {
    if (held)
        pthread_mutex_unlock(&NativeMutex(*segment));
}

void TryLock::Try() noexcept {
    if (segment == nullptr)
        return;
    pthread_mutex_t& mutex = NativeMutex(*segment);
    int result = IsUsual(mutex) ? pthread_mutex_trylock(&mutex) : EINVAL;
    // Some builds make the mutex robust. Its holder has died: what it left is whole, field by
    // field, and its own slot is swept in time.
    if (result == EOWNERDEAD)
        result = pthread_mutex_consistent(&mutex);
    held = result == 0;
    broken = result != 0 && result != EBUSY;
}

PatientLock::PatientLock(RegistrySegment* locked) : TryLock(locked) {
    for (int retry = 0; segment != nullptr && !*this && !IsBroken() && retry < kLockRetries;
         ++retry) {
        if (!LockBudget::Pause())
            return;
        Try();
    }
}

LockBudget::LockBudget(int pauses) noexcept : LockBudget(kGoing, pauses) {}

LockBudget::LockBudget(const std::atomic<bool>& goingOn, int pauses) noexcept
    : going(goingOn), pausesLeft(pauses) {
    tBudget = this;
}

LockBudget::~LockBudget() { tBudget = nullptr; }

bool LockBudget::Pause() {
    if (LockBudget* const own = tBudget) {
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
