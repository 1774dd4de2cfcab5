#include "shm/SegmentObject.h"

#include "shm/RegistryLock.h"
#include "shm/SegmentLayout.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <string_view>
#include <sys/file.h>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace shm {
namespace {

constexpr const char* kObjectName = "/td_spectral_registry";
static_assert(std::string_view(kObjectName).substr(1) == kSegmentName);
/// Where the C library keeps shared memory: the only way to ask for a name without opening it.
constexpr const char* kObjectPath = "/dev/shm/td_spectral_registry";

[[noreturn]] void Fail(int error) {
    throw std::system_error(error, std::generic_category(), kSegmentName);
}

} // namespace

SegmentObject SegmentObject::OpenExisting(Access access) {
    // Without O_NONBLOCK a pipe under this name would hold the host until somebody writes to it.
    const int mode = access == Access::ReadWrite ? O_RDWR : O_RDONLY;
    SegmentObject object(shm_open(kObjectName, mode | O_NONBLOCK, 0));
    if (!object && errno != ENOENT)
        Fail(errno);
    if (object && !S_ISREG(object.Status().st_mode))
        Fail(EINVAL);
    return object;
}

SegmentObject SegmentObject::Create() {
    SegmentObject object(shm_open(kObjectName, O_RDWR | O_CREAT | O_EXCL, 0600));
    if (!object && errno != EEXIST)
        Fail(errno);
    if (!object)
        return object;
    int error = fchmod(object.descriptor, 0644) == 0 ? 0 : errno; // exact, whatever the umask
    // A full /dev/shm must fail here, not kill the host at the first store to the mapping.
    while (error == 0 || error == EINTR)
        if (error = posix_fallocate(object.descriptor, 0, kSegmentBytes); error == 0)
            return object;
    object.RemoveIf([] { return true; });
    Fail(error);
}

SegmentObject::SegmentObject(SegmentObject&& other) noexcept
    : descriptor(std::exchange(other.descriptor, -1)) {}

SegmentObject& SegmentObject::operator=(SegmentObject&& other) noexcept {
    std::swap(descriptor, other.descriptor);
    return *this;
}

SegmentObject::~SegmentObject() {
    if (descriptor >= 0)
        close(descriptor);
}

struct stat SegmentObject::Status() const {
    struct stat status {};
    if (fstat(descriptor, &status) != 0)
        Fail(errno);
    return status;
}

std::size_t SegmentObject::Size() const { return static_cast<std::size_t>(Status().st_size); }

bool SegmentObject::IsOwn() const { return Status().st_uid == geteuid(); }

bool SegmentObject::IsYoung(int maxAgeSeconds) const {
    // Also one from a future that a clock set back has left behind, but not one from any future.
    const std::int64_t age = std::time(nullptr) - Status().st_mtime;
    return age <= maxAgeSeconds && age >= -maxAgeSeconds;
}

bool SegmentObject::IsNamed() const {
    struct stat named {};
    if (lstat(kObjectPath, &named) != 0)
        return false;
    const struct stat here = Status();
    return named.st_dev == here.st_dev && named.st_ino == here.st_ino;
}

void SegmentObject::CloseToOthers() const {
    if ((Status().st_mode & (S_IWGRP | S_IWOTH)) != 0 && fchmod(descriptor, 0644) != 0)
        Fail(errno);
}

void SegmentObject::Unlink() {
    // Refused where the name is another user's: whoever needs it will see that it is still there.
    shm_unlink(kObjectName);
}

SegmentObject::Removal::Removal(const SegmentObject& removed) : object(removed) {
    // Whoever may read the object may hold this lock: nobody waits for it without end.
    for (int retry = 0; flock(object.descriptor, LOCK_EX | LOCK_NB) != 0 && retry < kLockRetries;
         ++retry)
        if (!LockBudget::Pause())
            break;
}

SegmentObject::Removal::~Removal() { flock(object.descriptor, LOCK_UN); }

} // namespace shm
