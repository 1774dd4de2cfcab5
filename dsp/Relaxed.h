#pragma once

#include <atomic>

namespace dsp {

/// A number that one thread writes while others read it; no order with other memory is implied.
/// Reads and writes look plain and cost what plain ones cost, but are no data race. Copying copies
/// the value, so a record of such numbers stays copyable. [any]
template <class T>
class Relaxed {
    static_assert(std::atomic<T>::is_always_lock_free, "readers include the audio thread");

public:
    Relaxed() noexcept = default;
    Relaxed(T initial) noexcept : value(initial) {}
    Relaxed(const Relaxed& other) noexcept : value(static_cast<T>(other)) {}

    Relaxed& operator=(const Relaxed& other) noexcept {
        *this = static_cast<T>(other);
        return *this;
    }
    Relaxed& operator=(T next) noexcept {
        value.store(next, std::memory_order_relaxed);
        return *this;
    }
    operator T() const noexcept { return value.load(std::memory_order_relaxed); }

private:
    std::atomic<T> value{};
};

} // namespace dsp
