#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <span>
#include <thread>

namespace dsp {

/// The last spectrum of an engine, for other threads. The writer never waits: while a reader holds
/// the copy, a frame's spectrum is left out and the next one follows. Readers wait for as long as a
/// copy takes.
template <std::size_t kMaxValues>
class SharedSpectrum {
public:
    /// Takes over at most kMaxValues values. [audio; main while not processing]
    void offer(std::span<const float> spectrum) {
        if (busy.test_and_set(std::memory_order_acquire))
            return;
        count = std::min(spectrum.size(), kMaxValues);
        std::copy_n(spectrum.begin(), count, values.begin());
        busy.clear(std::memory_order_release);
    }

    /// Copies as much as there is room for and returns how much. [any but audio]
    std::size_t read(std::span<float> destination) const {
        while (busy.test_and_set(std::memory_order_acquire))
            std::this_thread::yield();
        const std::size_t copied = std::min(destination.size(), count);
        std::copy_n(values.begin(), copied, destination.begin());
        busy.clear(std::memory_order_release);
        return copied;
    }

private:
    mutable std::atomic_flag busy; ///< somebody uses what follows
    std::size_t count = 0;
    alignas(64) std::array<float, kMaxValues> values{};
};

} // namespace dsp
