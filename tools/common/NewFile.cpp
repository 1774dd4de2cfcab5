#include "tools/common/NewFile.h"

#include "tools/common/Failure.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace tools {
namespace fs = std::filesystem;
namespace {

/// Of its own length whatever the target's name, which may be as long as a name can be.
fs::path temporaryName(const fs::path& target) {
    static int count = 0;
    return target.parent_path() /
           (".tessella-" + std::to_string(getpid()) + "-" + std::to_string(count++) + ".part");
}

} // namespace

NewFile::NewFile(const fs::path& path) : asked(path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::is_directory(status))
        refuse(EISDIR);
    if (fs::exists(status) && access(path.c_str(), W_OK) != 0)
        refuse(errno); // a name could be taken from what may not be written
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        written = path;
        fd = open(written.c_str(), O_WRONLY | O_CLOEXEC);
        if (fd < 0)
            refuse(errno);
        return;
    }
    target = fs::weakly_canonical(fs::absolute(path), error);
    do {
        written = temporaryName(target);
        fd = open(written.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (fd < 0 && errno == EEXIST);
    if (fd < 0)
        refuse(errno);
    pending = true;
    if (fs::exists(status))
        fchmod(fd, static_cast<mode_t>(status.permissions()));
}

NewFile::~NewFile() {
    if (fd >= 0)
        close(fd);
    if (pending)
        unlink(written.c_str());
}

void NewFile::keep() {
    if (!pending)
        return;
    if (fsync(fd) != 0 || std::rename(written.c_str(), target.c_str()) != 0)
        refuse(errno);
    pending = false;
}

void NewFile::refuse(int error) const {
    fail(asked.string() + ": cannot write (" + std::generic_category().message(error) + ")");
}

} // namespace tools
