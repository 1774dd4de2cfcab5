/// Audio files in and out, block by block.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <sndfile.h>
#include <span>
#include <vector>

namespace tools {

struct AudioFormat {
    int sampleRate = 0;
    int channels = 0;  ///< 1 or 2
    int container = 0; ///< libsndfile's format word: container, subtype, byte order
    std::uint64_t frames = 0;
};

struct SoundFileCloser {
    void operator()(SNDFILE* file) const;
};
using SoundFile = std::unique_ptr<SNDFILE, SoundFileCloser>;

/// Reads a mono or stereo file as two channels, then silence for ever.
class AudioReader {
public:
    /// Throws Failure when the file is missing, unreadable, empty or has more than two channels.
    explicit AudioReader(const std::filesystem::path& path);

    [[nodiscard]] const AudioFormat& format() const { return fileFormat; }
    /// Fills both spans, which are of one length; a mono file gives the same samples to both.
    void read(std::span<double> left, std::span<double> right);

private:
    AudioFormat fileFormat;
    SoundFile file;
    std::vector<double> interleaved;
};

/// The part of an endless stream that goes into a file.
struct Cut {
    std::uint64_t skipFrames = 0;
    std::uint64_t frames = 0;
};

/// Writes a cut of what it is given, as mono or stereo.
class AudioWriter {
public:
    /// The format is that of the source where the path ends alike, else what the ending (.wav,
    /// .flac, .ogg) says with the source's resolution. Throws Failure when that cannot be written.
    AudioWriter(const std::filesystem::path& path, const AudioFormat& source,
                const std::filesystem::path& sourcePath, Cut cut);

    void write(std::span<const double> left, std::span<const double> right);
    /// Closes the file; throws Failure when not everything arrived on disk.
    void finish();
    /// Samples beyond full scale, cut off where the format holds no more.
    [[nodiscard]] std::uint64_t clippedSamples() const { return clipped; }

private:
    std::filesystem::path target;
    int channels;
    bool keepsOvershoot;
    Cut remaining;
    std::uint64_t clipped = 0;
    SoundFile file;
    std::vector<double> interleaved;
};

} // namespace tools
