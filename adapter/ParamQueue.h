/// The ring of parameter records on their way to the host.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace iplug {

/// One record for the host.
struct ParamRecord {
    enum class Kind : std::uint8_t { GestureBegin, Value, GestureEnd };
    Kind kind;
    std::int32_t index;
    double value; ///< as the host sees it: normalised, or plain for stepped parameters
};

/// Lock-free ring with one writer and one reader. The reader peeks first, so that a record the
/// host refuses stays queued.
class ParamQueue {
public:
    /// False, and the record is dropped, when the ring is full. [writer]
    bool Push(const ParamRecord& record) noexcept {
        const std::uint32_t at = writeIndex.load(std::memory_order_relaxed);
        const std::uint32_t next = (at + 1) % kCapacity;
        // acquire: the reader has finished with the record whose place is taken
        if (next == readIndex.load(std::memory_order_acquire))
            return false;
        records[at] = record;
        writeIndex.store(next, std::memory_order_release); // publishes the record to the reader
        return true;
    }

    /// The oldest record, null when there is none. [reader; whether there is one: any]
    [[nodiscard]] const ParamRecord* Peek() const noexcept {
        const std::uint32_t at = readIndex.load(std::memory_order_relaxed);
        // acquire: the record that the writer published with this index
        return at == writeIndex.load(std::memory_order_acquire) ? nullptr : &records[at];
    }

    /// Removes the record that Peek showed. [reader]
    void Pop() noexcept {
        const std::uint32_t at = readIndex.load(std::memory_order_relaxed);
        readIndex.store((at + 1) % kCapacity, std::memory_order_release); // gives the place back
    }

private:
    static constexpr std::uint32_t kCapacity = 512;

    std::atomic<std::uint32_t> writeIndex = 0;
    std::atomic<std::uint32_t> readIndex = 0;
    std::array<ParamRecord, kCapacity> records{};
};

} // namespace iplug
