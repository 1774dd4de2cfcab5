#include "tools/common/SoundSink.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace tools {
namespace {

SoundSink& sinkOf(void* user) { return *static_cast<SoundSink*>(user); }

} // namespace

SNDFILE* SoundSink::open(SF_INFO& info) {
    SF_VIRTUAL_IO calls{length, seek, read, write, tell};
    return sf_open_virtual(&calls, SFM_WRITE, &info, this);
}

sf_count_t SoundSink::length(void* sink) {
    struct stat status {};
    return fstat(sinkOf(sink).descriptor, &status) == 0 ? status.st_size : 0;
}

sf_count_t SoundSink::seek(sf_count_t offset, int whence, void* sink) {
    return lseek(sinkOf(sink).descriptor, offset, whence);
}

sf_count_t SoundSink::read(void* /*data*/, sf_count_t /*count*/, void* /*sink*/) { return 0; }

sf_count_t SoundSink::write(const void* data, sf_count_t count, void* sink) {
    SoundSink& self = sinkOf(sink);
    sf_count_t done = 0;
    while (done < count) {
        const ssize_t written = ::write(self.descriptor, static_cast<const char*>(data) + done,
                                        static_cast<std::size_t>(count - done));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            self.firstError = self.firstError != 0 ? self.firstError : errno;
            break;
        }
        done += written;
    }
    return done;
}

sf_count_t SoundSink::tell(void* sink) { return lseek(sinkOf(sink).descriptor, 0, SEEK_CUR); }

} // namespace tools
