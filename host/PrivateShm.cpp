#include "host/PrivateShm.h"

#include <fcntl.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <unistd.h>

namespace host {
namespace {

bool writeFile(const char* path, const std::string& text) {
    const int fd = open(path, O_WRONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool written = write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(fd);
    return written;
}

/// Becomes root of a new user namespace in which only the own user and group exist.
bool becomeNamespaceRoot() {
    const std::string uid = std::to_string(getuid());
    const std::string gid = std::to_string(getgid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        return false;
    return writeFile("/proc/self/setgroups", "deny") &&
           writeFile("/proc/self/uid_map", "0 " + uid + " 1") &&
           writeFile("/proc/self/gid_map", "0 " + gid + " 1");
}

} // namespace

bool enterPrivateShm() {
    // Root needs no user namespace, and cannot have one inside a chroot.
    const bool separated = geteuid() == 0 ? unshare(CLONE_NEWNS) == 0 : becomeNamespaceRoot();
    if (!separated)
        return false;
    // Without this the new mount would show outside. In a chroot "/" may be no mount point: then
    // it is enough, and possible, that /dev/shm's own mount does not propagate.
    if (mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) != 0 &&
        mount("none", "/dev/shm", "none", MS_PRIVATE, nullptr) != 0)
        return false;
    return mount("tmpfs", "/dev/shm", "tmpfs", 0, "mode=1777") == 0;
}

} // namespace host
