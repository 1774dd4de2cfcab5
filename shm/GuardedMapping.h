/// The registry's bytes in this process, in a way that their loss does not end it.
#pragma once

#include "shm/SegmentObject.h"

namespace shm {

/// Maps the first kSegmentBytes of an object. A shared-memory object can be shortened by anybody
/// who may write it, at any moment; the next access beyond its end is then SIGBUS, which ends the
/// host. No check before the access closes that gap, so the fault itself is answered: while any
/// mapping lives in this process, a handler for SIGBUS puts empty memory under one that is hit,
/// and the instruction goes on. Empty memory is a registry without a slot of ours: operations
/// find nothing to do there. Every other SIGBUS goes on to the handler that was there before, and
/// the last mapping puts that one back.
///
/// What is left of the risk: a thread that blocks SIGBUS is killed nevertheless, and so is a host
/// whose own handler comes later and does not pass signals on. [any but audio; access: any]
class GuardedMapping {
public:
    GuardedMapping() = default;
    /// Raises std::system_error when the system refuses, or too many are mapped in this process.
    GuardedMapping(const SegmentObject& object, SegmentObject::Access access);
    GuardedMapping(GuardedMapping&& other) noexcept;
    GuardedMapping& operator=(GuardedMapping&& other) noexcept;
    ~GuardedMapping();

    [[nodiscard]] void* Address() const { return address; }

private:
    void* address = nullptr;
};

} // namespace shm
