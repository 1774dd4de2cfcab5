#include "tools/common/SoundCheck.h"

#include "tools/common/Interrupt.h"
#include "tools/common/SoundHandle.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

namespace tools {
namespace {

constexpr std::uint64_t kCheckFrames = 4096; ///< how finely a break is found
/// What programs write that stream a WAV and cannot know its length.
constexpr std::uint32_t kStreamedBytes = 0x7FFFF000;

struct Decoded {
    std::uint64_t frames = 0;
    bool broken = false; ///< ended by an error of the decoder
};

Decoded decode(const std::filesystem::path& path) {
    SF_INFO info{};
    const SoundHandle sound(sf_open(path.c_str(), SFM_READ, &info));
    std::vector<float> samples(kCheckFrames * static_cast<std::size_t>(info.channels));
    Decoded decoded;
    while (sound && !decoded.broken) {
        checkInterrupt();
        const sf_count_t count = sf_readf_float(sound.get(), samples.data(), kCheckFrames);
        if (count <= 0)
            break;
        decoded.frames += static_cast<std::uint64_t>(count);
        decoded.broken = sf_error(sound.get()) != SF_ERR_NO_ERROR;
    }
    return decoded;
}

std::uint32_t littleEndian(const char* bytes) {
    std::uint32_t value = 0;
    for (int i = 3; i >= 0; --i)
        value = value << 8U | static_cast<unsigned char>(bytes[i]);
    return value;
}

/// Seconds that the header of a WAV tells, where the file is shorter than that; else nothing.
std::optional<double> missedByWav(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::uint64_t size = std::filesystem::file_size(path);
    std::array<char, 12> head{};
    file.read(head.data(), 12);
    std::uint32_t bytesPerSecond = 0;
    for (std::uint64_t at = 12;
         file.seekg(static_cast<std::streamoff>(at)) && file.read(head.data(), 8);) {
        const std::string_view name(head.data(), 4);
        const std::uint32_t length = littleEndian(head.data() + 4);
        if (name == "fmt " && file.read(head.data(), 12))
            bytesPerSecond = littleEndian(head.data() + 8);
        const bool known = length < kStreamedBytes && bytesPerSecond > 0;
        if (name == "data" && known && at + 8 + length > size)
            return static_cast<double>(length) / bytesPerSecond;
        if (name == "data")
            break;
        at += 8 + length + length % 2;
    }
    return std::nullopt;
}

/// Whether the last page of an Ogg file is whole and marked as the last.
bool hasOggEnd(const std::filesystem::path& path) {
    constexpr std::uint64_t kMostOfAPage = 27 + 255 + 255 * 255;
    const std::uint64_t size = std::filesystem::file_size(path);
    std::string tail(std::min(size, kMostOfAPage), '\0');
    std::ifstream file(path, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(size - tail.size()));
    file.read(tail.data(), static_cast<std::streamsize>(tail.size()));
    const std::size_t page = tail.rfind("OggS");
    if (page == std::string::npos || tail.size() - page < 27)
        return false;
    const std::size_t segments = static_cast<unsigned char>(tail[page + 26]);
    std::size_t length = 27 + segments;
    for (std::size_t i = 0; i < segments && page + 27 + i < tail.size(); ++i)
        length += static_cast<unsigned char>(tail[page + 27 + i]);
    constexpr unsigned kLastPage = 4;
    return (static_cast<unsigned char>(tail[page + 5]) & kLastPage) != 0 &&
           page + length <= tail.size();
}

std::string breaksOff(double atSeconds, std::optional<double> ofSeconds) {
    char text[64];
    if (ofSeconds)
        std::snprintf(text, sizeof text, "breaks off at %.2f s of %.2f s", atSeconds, *ofSeconds);
    else
        std::snprintf(text, sizeof text, "breaks off at %.2f s", atSeconds);
    return text;
}

} // namespace

SoundCheck checkSound(const std::filesystem::path& path, const SF_INFO& told) {
    const bool lengthKnown = told.frames < std::numeric_limits<sf_count_t>::max();
    const Decoded decoded = decode(path);
    const auto toldFrames = static_cast<std::uint64_t>(told.frames);
    const auto seconds = [&told](std::uint64_t frames) {
        return static_cast<double>(frames) / told.samplerate;
    };
    SoundCheck whole{lengthKnown ? toldFrames : decoded.frames, ""};
    if (lengthKnown && decoded.frames < toldFrames)
        return {toldFrames, breaksOff(seconds(decoded.frames), seconds(toldFrames))};
    if (!lengthKnown && decoded.broken)
        return {decoded.frames, breaksOff(seconds(decoded.frames), std::nullopt)};
    const int container = told.format & SF_FORMAT_TYPEMASK;
    if (container == SF_FORMAT_OGG && !hasOggEnd(path))
        return {whole.frames, breaksOff(seconds(whole.frames), std::nullopt)};
    if (container == SF_FORMAT_WAV || container == SF_FORMAT_WAVEX)
        if (const auto missed = missedByWav(path))
            return {whole.frames, breaksOff(seconds(whole.frames), missed)};
    return whole;
}

} // namespace tools
