/// Keeps the audio thread out of something for a while, without its ever waiting.
#pragma once

#include <atomic>
#include <chrono>
#include <thread>

/// The audio thread passes when the gate is open and goes without when it is closed; whoever closes
/// it knows from then on that the audio thread is not inside.
class AudioGate {
public:
    /// The audio thread's way through, never waiting. While it lives and is true, nobody has the
    /// gate closed. [audio]
    class Pass {
    public:
        explicit Pass(AudioGate& passed) noexcept : gate(passed) {
            // Sequentially consistent with Closed: one of the two always sees the other.
            gate.passing.store(true);
            open = gate.closers.load() == 0;
        }
        ~Pass() { gate.passing.store(false, std::memory_order_release); }
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;

        explicit operator bool() const noexcept { return open; }

    private:
        AudioGate& gate;
        bool open = false;
    };

    /// Holds the gate closed; first lets a block that is passing finish, a matter of
    /// microseconds. Nests, also across threads. [any but audio]
    class Closed {
    public:
        explicit Closed(AudioGate& closed) : gate(closed) {
            gate.closers.fetch_add(1);
            while (gate.passing.load())
                std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
        ~Closed() { gate.closers.fetch_sub(1); }
        Closed(const Closed&) = delete;
        Closed& operator=(const Closed&) = delete;

    private:
        AudioGate& gate;
    };

private:
    std::atomic<int> closers = 0;
    std::atomic<bool> passing = false;
};
