/// Keeps registry edits off the parameters while this instance is writing settings of its own.
#pragma once

#include <atomic>
#include <chrono>
#include <thread>

/// An own write of a settings group has three parts: parameters, registry, counter recorded. The
/// audio thread, which takes over any group whose counter is not the recorded one, must not see
/// the middle of it: a state load of one band would come back as the splits that one band implies.
class ApplyGate {
public:
    /// The audio thread's way through, never waiting. While it lives and is true, no own write is
    /// under way. [audio]
    class Pass {
    public:
        explicit Pass(ApplyGate& passed) noexcept : gate(passed) {
            // Sequentially consistent with Closed: one of the two always sees the other.
            gate.passing.store(true);
            open = gate.closers.load() == 0;
        }
        ~Pass() { gate.passing.store(false); }
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;

        explicit operator bool() const noexcept { return open; }

    private:
        ApplyGate& gate;
        bool open = false;
    };

    /// Holds the gate closed; first lets a block that is passing finish, a matter of
    /// microseconds. Nests, also across threads. [any but audio]
    class Closed {
    public:
        explicit Closed(ApplyGate& closed) : gate(closed) {
            gate.closers.fetch_add(1);
            while (gate.passing.load())
                std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
        ~Closed() { gate.closers.fetch_sub(1); }
        Closed(const Closed&) = delete;
        Closed& operator=(const Closed&) = delete;

    private:
        ApplyGate& gate;
    };

private:
    std::atomic<int> closers = 0;
    std::atomic<bool> passing = false;
};
