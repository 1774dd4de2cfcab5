#include "tools/common/AudioFile.h"

#include "tools/common/Failure.h"

#include <algorithm>
#include <cctype>
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

/// libsndfile's format word for an output; throws Failure (Usage) for an unknown ending.
int outputFormat(const std::filesystem::path& path, const AudioFormat& source,
                 const std::filesystem::path& sourcePath) {
    const std::string extension = lowerExtension(path);
    if (extension == lowerExtension(sourcePath) && canWrite(source.container, source))
        return source.container;
    const int container = containerFor(extension);
    if (container == 0)
        failUsage(path.string() + ": cannot write this kind of file, only .wav, .flac and .ogg");
    if (container == SF_FORMAT_OGG)
        return SF_FORMAT_OGG | SF_FORMAT_VORBIS;
    const int sameDepth = container | (source.container & SF_FORMAT_SUBMASK);
    return canWrite(sameDepth, source) ? sameDepth : container | SF_FORMAT_PCM_24;
}

} // namespace

void SoundFileCloser::operator()(SNDFILE* file) const { sf_close(file); }

AudioReader::AudioReader(const std::filesystem::path& path) {
    if (!std::filesystem::exists(path))
        fail(path.string() + ": no such file");
    SF_INFO info{};
    file.reset(sf_open(path.c_str(), SFM_READ, &info));
    if (!file)
        fail(path.string() + ": " + sf_strerror(nullptr));
    if (info.channels < 1 || info.channels > 2)
        fail(path.string() + ": has " + std::to_string(info.channels) +
             " channels, only mono and stereo can be ducked");
    if (info.frames <= 0)
        fail(path.string() + ": holds no sound");
    fileFormat = {info.samplerate, info.channels, info.format,
                  static_cast<std::uint64_t>(info.frames)};
}

void AudioReader::read(std::span<double> left, std::span<double> right) {
    const auto channels = static_cast<std::size_t>(fileFormat.channels);
    interleaved.assign(left.size() * channels, 0.0);
    sf_readf_double(file.get(), interleaved.data(), static_cast<sf_count_t>(left.size()));
    for (std::size_t i = 0; i < left.size(); ++i) {
        left[i] = interleaved[i * channels];
        right[i] = interleaved[i * channels + channels - 1];
    }
}

AudioWriter::AudioWriter(const std::filesystem::path& path, const AudioFormat& source,
                         const std::filesystem::path& sourcePath, Cut cut)
    : target(path), channels(source.channels), remaining(cut) {
    SF_INFO info{};
    info.samplerate = source.sampleRate;
    info.channels = source.channels;
    info.format = outputFormat(path, source, sourcePath);
    keepsOvershoot = holdsOvershoot(info.format);
    file.reset(sf_open(path.c_str(), SFM_WRITE, &info));
    if (!file)
        fail(path.string() + ": cannot write (" + sf_strerror(nullptr) + ")");
    // Without this, samples beyond full scale would wrap round to the other side.
    sf_command(file.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
    double quality = kVorbisQuality;
    sf_command(file.get(), SFC_SET_VBR_ENCODING_QUALITY, &quality, sizeof quality);
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
    if (count > 0 && sf_writef_double(file.get(), interleaved.data(), frames) != frames)
        fail(target.string() + ": cannot write (" + sf_strerror(file.get()) + ")");
}

void AudioWriter::finish() {
    sf_write_sync(file.get());
    if (sf_close(file.release()) != 0)
        fail(target.string() + ": cannot finish writing");
}

} // namespace tools
