/// The segment that somebody works in, which may be exchanged for another at any moment.
#pragma once

#include "shm/SegmentLayout.h"

namespace shm {

/// Counts the operations at work, so that whoever exchanges the segment knows when the former one
/// is used no more. Nobody waits. [any]
class SegmentSource {
public:
    /// From now on operations find this segment, or none for null.
    void Lead(RegistrySegment* next) noexcept { segment.store(next); }
    /// True once no operation is left that has found a segment before the last Lead.
    [[nodiscard]] bool IsIdle() const noexcept { return users.load() == 0; }

private:
    friend class SegmentUse;

    // All sequentially consistent: an operation that is not counted sees the exchange.
    std::atomic<RegistrySegment*> segment{nullptr};
    mutable std::atomic<int> users{0};
};

/// One operation's use of the segment, null where there is none. [any]
class SegmentUse {
public:
    explicit SegmentUse(const SegmentSource& used) noexcept : source(used) {
        source.users.fetch_add(1);
        segment = source.segment.load();
    }
    ~SegmentUse() { source.users.fetch_sub(1); }
    SegmentUse(const SegmentUse&) = delete;
    SegmentUse& operator=(const SegmentUse&) = delete;

    explicit operator bool() const { return segment != nullptr; }
    [[nodiscard]] RegistrySegment* Get() const { return segment; }
    RegistrySegment& operator*() const { return *segment; }
    RegistrySegment* operator->() const { return segment; }

private:
    const SegmentSource& source;
    RegistrySegment* segment = nullptr;
};

} // namespace shm
