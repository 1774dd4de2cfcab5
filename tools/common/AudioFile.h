/// Audio files in and out, block by block.
#pragma once

#include "tools/common/NewFile.h"
#include "tools/common/SoundHandle.h"
#include "tools/common/SoundSink.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace tools {

struct AudioFormat {
    int sampleRate = 0;
    int channels = 0;  ///< 1 or 2
    int container = 0; ///< libsndfile's format word: container, subtype, byte order
    std::uint64_t frames = 0;
};

/// Of a file that holds less sound than it says.
enum class Damaged { Refuse, Accept };

/// Reads a mono or stereo file as two channels, then silence for ever.
class AudioReader {
public:
    /// Throws Failure when the file is missing, unreadable, empty or has more than two channels,
    /// and with Refuse when it is damaged: it is decoded to its end to see that.
    explicit AudioReader(const std::filesystem::path& path, Damaged damaged = Damaged::Refuse);

    [[nodiscard]] const AudioFormat& format() const { return fileFormat; }
    /// What was accepted, for people; empty for a whole file.
    [[nodiscard]] const std::string& damage() const { return damageText; }
    /// Fills both spans, which are of one length; a mono file gives the same samples to both.
    void read(std::span<double> left, std::span<double> right);

private:
    void note(const std::string& damage); ///< refuses it, or keeps the text

    std::filesystem::path source;
    AudioFormat fileFormat;
    std::string damageText;
    Damaged policy;
    SoundHandle sound;
    std::uint64_t framesRead = 0;
    std::vector<double> interleaved;
};

/// The part of an endless stream that goes into a file.
struct Cut {
    std::uint64_t skipFrames = 0;
    std::uint64_t frames = 0;
};

/// Throws Failure (Usage) where an AudioWriter would find no format, before anything is written.
void requireWritable(const std::filesystem::path& path, const AudioFormat& source,
                     const std::filesystem::path& sourcePath);

/// Writes a cut of what it is given, as mono or stereo. The file is there once it is kept.
class AudioWriter {
public:
    /// The format is that of the source where the path ends alike, else what the ending (.wav,
    /// .flac, .ogg) says with the source's resolution. Throws Failure when that cannot be written.
    AudioWriter(const std::filesystem::path& path, const AudioFormat& source,
                const std::filesystem::path& sourcePath, Cut cut);

    void write(std::span<const double> left, std::span<const double> right);
    /// Closes the file; throws Failure when not everything has been written.
    void finish();
    /// Gives the finished file its name.
    void keep() { file.keep(); }
    /// Samples beyond full scale, cut off where the format holds no more.
    [[nodiscard]] std::uint64_t clippedSamples() const { return clipped; }

private:
    int channels;
    bool keepsOvershoot = false;
    Cut remaining;
    std::uint64_t clipped = 0;
    NewFile file;
    SoundSink sink;
    SoundHandle sound; ///< closed first: it writes what it still has
    std::vector<double> interleaved;
};

} // namespace tools
