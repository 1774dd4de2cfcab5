/// Where libsndfile writes to. It overlooks what goes wrong while it closes a file: the last block
/// of a FLAC or Ogg would be missing on a full disk without a word. Here every write is seen.
#pragma once

#include <sndfile.h>

namespace tools {

/// Over an open descriptor, which stays the caller's. Outlives what open() gives.
class SoundSink {
public:
    explicit SoundSink(int fd) : descriptor(fd) {}
    SoundSink(const SoundSink&) = delete;
    SoundSink& operator=(const SoundSink&) = delete;

    /// As sf_open for writing.
    [[nodiscard]] SNDFILE* open(SF_INFO& info);
    /// What the first write that failed gave, as errno; 0: none has.
    [[nodiscard]] int error() const { return firstError; }

private:
    static sf_count_t length(void* sink);
    static sf_count_t seek(sf_count_t offset, int whence, void* sink);
    static sf_count_t read(void* data, sf_count_t count, void* sink);
    static sf_count_t write(const void* data, sf_count_t count, void* sink);
    static sf_count_t tell(void* sink);

    int descriptor;
    int firstError = 0;
};

} // namespace tools
