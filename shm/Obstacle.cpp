#include "shm/Obstacle.h"

#include "shm/GuardedMapping.h"
#include "shm/RegistryLock.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <system_error>

namespace shm {
namespace {

bool IsFull(const RegistrySegment& segment) {
    const std::int64_t now = Now();
    return std::ranges::all_of(segment.slots, [now](const RegistrySlot& slot) {
        return IsActive(slot) && IsAlive(slot, now, kAliveSeconds);
    });
}

Obstacle FindIn(const SegmentObject& object) {
    if (!object)
        return Obstacle::Missing;
    if (!object.IsOwn())
        return Obstacle::OtherUser;
    if (object.Size() == 0 && object.IsYoung(kAliveSeconds))
        return Obstacle::Busy; // gets its size in the next moment
    if (object.Size() != kSegmentBytes)
        return Obstacle::Foreign;
    const GuardedMapping mapping(object, SegmentObject::Access::ReadWrite);
    auto& segment = *static_cast<RegistrySegment*>(mapping.Address());
    if (!IsReady(segment))
        return Obstacle::Foreign;
    if (IsFull(segment))
        return Obstacle::Full;
    return TryLock(&segment) ? Obstacle::None : Obstacle::Busy;
}

/// What the system's refusal to open a name tells about it.
Obstacle Judge(int error) {
    switch (error) {
    case EACCES: // not ours, or ours and closed to ourselves: its owner decides
    case EPERM:
        return Obstacle::OtherUser;
    case EINVAL: // no plain file
    case EISDIR:
    case ELOOP:
    case ENXIO:
        return Obstacle::Foreign;
    default:
        return Obstacle::Refused;
    }
}

} // namespace

Obstacle FindObstacle() noexcept try {
    using enum SegmentObject::Access;
    const SegmentObject seen = SegmentObject::OpenExisting(Read);
    if (!seen || !seen.IsOwn())
        return FindIn(seen);
    return FindIn(SegmentObject::OpenExisting(ReadWrite));
} catch (const std::system_error& error) {
    return Judge(error.code().value());
} catch (const std::exception&) {
    return Obstacle::Refused;
}

const char* Explain(Obstacle obstacle) noexcept {
    switch (obstacle) {
    case Obstacle::None:
        return "nothing is in the way any more: try again";
    case Obstacle::Missing:
        return "no registry can be made: /dev/shm must be there, writable, and have 84 KiB free";
    case Obstacle::OtherUser:
        return "the registry belongs to another user: when no program of theirs uses it any more, "
               "they, or root, remove /dev/shm/td_spectral_registry";
    case Obstacle::Foreign:
        return "the registry is of another version of the plug-in: end all programs that have it "
               "loaded, then remove /dev/shm/td_spectral_registry";
    case Obstacle::Full:
        return "all 16 slots of the registry are taken: close an instance, or wait 12 s where a "
               "program has just crashed";
    case Obstacle::Busy:
        return "the registry is busy: try again; if a program has crashed, in 15 s";
    case Obstacle::Refused:
        break;
    }
    return "the system does not open the registry: see that /dev/shm/td_spectral_registry can be "
           "read and written";
}

} // namespace shm
