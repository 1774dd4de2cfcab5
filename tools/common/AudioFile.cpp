#include "tools/common/AudioFile.h"

#include "tools/common/Failure.h"
#include "tools/common/SoundCheck.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <string>

namespace tools {
namespace {

constexpr double kVorbisQuality = 0.7;

std::string lowerExtension(const std::filesystem::path& path) {
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

int containerFor(const std::string& extension) {
    if (extension == ".wav")
        return SF_FORMAT_WAV;
    if (extension == ".flac")
        return SF_FORMAT_FLAC;
    if (extension == ".ogg" || extension == ".oga")
        return SF_FORMAT_OGG;
    return 0;
}

bool canWrite(int format, const AudioFormat& source) {
    SF_INFO info{};
    info.samplerate = source.sampleRate;
    info.channels = source.channels;
    info.format = format;
    return sf_format_check(&info) != 0;
}

bool holdsOvershoot(int format) {
    const int subtype = format & SF_FORMAT_SUBMASK;
    return subtype == SF_FORMAT_FLOAT || subtype == SF_FORMAT_DOUBLE || subtype == SF_FORMAT_VORBIS;
}

bool isMp3(int format) { return (format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG; }

/// libsndfile's format word for an output; throws Failure (Usage) where there is none.
int outputFormat(const std::filesystem::path& path, const AudioFormat& source,
                 const std::filesystem::path& sourcePath) {
    const std::string extension = lowerExtension(path);
    if (extension == lowerExtension(sourcePath) && !isMp3(source.container) &&
        canWrite(source.container, source))
        return source.container;
    const int container = containerFor(extension);
    if (container == 0)
        failUsage(path.string() + ": cannot write " +
                  (extension.empty() ? "a file without ending" : extension) +
                  ", only .wav, .flac and .ogg: name the output so");
    const int sameDepth = container | (source.container & SF_FORMAT_SUBMASK);
    const bool keepsDepth = !isMp3(source.container) && canWrite(sameDepth, source);
    const int format = container == SF_FORMAT_OGG ? SF_FORMAT_OGG | SF_FORMAT_VORBIS
                       : keepsDepth               ? sameDepth
                                                  : container | SF_FORMAT_PCM_24;
    if (!canWrite(format, source))
        failUsage(path.string() + ": a file of this kind cannot have " +
                  std::to_string(source.sampleRate) + " Hz");
    return format;
}

SF_INFO outputInfo(const std::filesystem::path& path, const AudioFormat& source,
                   const std::filesystem::path& sourcePath) {
    SF_INFO info{};
    info.samplerate = source.sampleRate;
    info.channels = source.channels;
    info.format = outputFormat(path, source, sourcePath);
    return info;
}

/// Fails for what is no sound file at all.
void requireContent(const std::filesystem::path& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status))
        fail(path.string() + ": no such file");
    if (std::filesystem::is_directory(status))
        fail(path.string() + ": a folder, not a file");
    if (std::filesystem::is_regular_file(status) && std::filesystem::file_size(path, error) == 0)
        fail(path.string() + ": the file is empty, 0 bytes");
}

} // namespace

AudioReader::AudioReader(const std::filesystem::path& path, Damaged damaged)
    : source(path), policy(damaged) {
    requireContent(path);
    SF_INFO info{};
    sound.reset(sf_open(path.c_str(), SFM_READ, &info));
    if (!sound)
        fail(path.string() + ": " + sf_strerror(nullptr));
    if (info.channels < 1 || info.channels > 2)
        fail(path.string() + ": has " + std::to_string(info.channels) +
             " channels, only mono and stereo can be ducked");
    SoundCheck check{static_cast<std::uint64_t>(info.frames), ""};
    if (info.seekable != 0) // of a pipe, what is missing shows when it is read
        check = checkSound(path, info);
    note(check.damage);
    if (info.frames <= 0 || check.frames == 0)
        fail(path.string() + ": holds no sound");
    fileFormat = {info.samplerate, info.channels, info.format, check.frames};
}

void AudioReader::note(const std::string& damage) {
    if (damage.empty() || !damageText.empty())
        return;
    if (policy == Damaged::Refuse)
        fail(source.string() + ": damaged: " + damage + " (--accept-damaged takes what is there)");
    damageText = damage;
}

void AudioReader::read(std::span<double> left, std::span<double> right) {
    const auto channels = static_cast<std::size_t>(fileFormat.channels);
    interleaved.assign(left.size() * channels, 0.0);
    const sf_count_t count =
        sf_readf_double(sound.get(), interleaved.data(), static_cast<sf_count_t>(left.size()));
    framesRead += static_cast<std::uint64_t>(std::max<sf_count_t>(count, 0));
    if (static_cast<std::size_t>(count) < left.size() && framesRead < fileFormat.frames)
        note("breaks off while it is read");
    for (std::size_t i = 0; i < left.size(); ++i) {
        left[i] = interleaved[i * channels];
        right[i] = interleaved[i * channels + channels - 1];
    }
}

void requireWritable(const std::filesystem::path& path, const AudioFormat& source,
                     const std::filesystem::path& sourcePath) {
    (void)outputFormat(path, source, sourcePath);
}

AudioWriter::AudioWriter(const std::filesystem::path& path, const AudioFormat& source,
                         const std::filesystem::path& sourcePath, Cut cut)
    : channels(source.channels), remaining(cut), file(path), sink(file.descriptor()) {
    SF_INFO info = outputInfo(path, source, sourcePath);
    keepsOvershoot = holdsOvershoot(info.format);
    sound.reset(sink.open(info));
    if (!sound)
        fail(path.string() + ": cannot write (" + sf_strerror(nullptr) + ")");
    // Without this, samples beyond full scale would wrap round to the other side.
    sf_command(sound.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
    double quality = kVorbisQuality;
    sf_command(sound.get(), SFC_SET_VBR_ENCODING_QUALITY, &quality, sizeof quality);
}

void AudioWriter::write(std::span<const double> left, std::span<const double> right) {
    const std::size_t skip = std::min<std::uint64_t>(remaining.skipFrames, left.size());
    const std::size_t count = std::min<std::uint64_t>(remaining.frames, left.size() - skip);
    remaining.skipFrames -= skip;
    remaining.frames -= count;
    interleaved.clear();
    for (std::size_t i = skip; i < skip + count; ++i) {
        interleaved.push_back(left[i]);
        if (channels == 2)
            interleaved.push_back(right[i]);
    }
    if (!keepsOvershoot)
        clipped += static_cast<std::uint64_t>(
            std::count_if(interleaved.begin(), interleaved.end(),
                          [](double sample) { return std::abs(sample) > 1.0; }));
    const auto frames = static_cast<sf_count_t>(count);
    if (count > 0 && sf_writef_double(sound.get(), interleaved.data(), frames) != frames)
        file.refuse(sink.error() != 0 ? sink.error() : EIO);
}

void AudioWriter::finish() {
    const bool closed = sf_close(sound.release()) == 0;
    if (!closed || sink.error() != 0)
        file.refuse(sink.error() != 0 ? sink.error() : EIO);
}

} // namespace tools
