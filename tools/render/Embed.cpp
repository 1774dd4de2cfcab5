#include "tools/render/Embed.h"

#include "tools/common/AudioFile.h"
#include "tools/common/Failure.h"

#include <boost/archive/iterators/base64_from_binary.hpp>
#include <boost/archive/iterators/transform_width.hpp>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace render {
namespace {

constexpr std::size_t kBlock = 4096;

using TemporaryFile = std::unique_ptr<std::FILE, decltype(&std::fclose)>;

void requireTemporary(bool fine) {
    if (!fine)
        tools::fail("cannot use a temporary file for the page's sounds");
}

/// Skips, then copies; both channels of a mono file are alike and cost next to nothing in FLAC.
void copy(tools::AudioReader& reader, SNDFILE* flac, tools::Cut cut) {
    std::vector<double> left(kBlock);
    std::vector<double> right(kBlock);
    std::vector<double> interleaved;
    for (std::uint64_t at = 0; at < cut.skipFrames + cut.frames; at += left.size()) {
        const std::uint64_t until =
            at < cut.skipFrames ? cut.skipFrames : cut.skipFrames + cut.frames;
        left.resize(std::min<std::uint64_t>(kBlock, until - at));
        right.resize(left.size());
        reader.read(left, right);
        interleaved.clear();
        for (std::size_t i = 0; at >= cut.skipFrames && i < left.size(); ++i)
            interleaved.insert(interleaved.end(), {left[i], right[i]});
        const auto count = static_cast<sf_count_t>(interleaved.size());
        requireTemporary(sf_write_double(flac, interleaved.data(), count) == count);
    }
}

std::string contentsOf(std::FILE* file) {
    std::rewind(file);
    std::string bytes;
    char part[65536];
    while (const std::size_t count = std::fread(part, 1, sizeof part, file))
        bytes.append(part, count);
    requireTemporary(std::ferror(file) == 0);
    return bytes;
}

} // namespace

std::string base64(std::string_view bytes) {
    using namespace boost::archive::iterators;
    using Encoder = base64_from_binary<transform_width<std::string::const_iterator, 6, 8>>;
    std::string padded(bytes); // the encoder looks at whole groups of three bytes
    const std::size_t padding = (3 - bytes.size() % 3) % 3;
    padded.append(padding, '\0');
    std::string text(Encoder(padded.begin()), Encoder(padded.end()));
    return text.replace(text.size() - padding, padding, padding, '=');
}

std::string flacOf(const std::filesystem::path& path, std::uint64_t firstFrame,
                   std::uint64_t frames) {
    tools::AudioReader reader(path, tools::Damaged::Accept); // judged before it was rendered
    const TemporaryFile temporary(std::tmpfile(), &std::fclose);
    requireTemporary(temporary != nullptr);
    SF_INFO info{};
    info.samplerate = reader.format().sampleRate;
    info.channels = 2;
    info.format = SF_FORMAT_FLAC | SF_FORMAT_PCM_16;
    tools::SoundHandle flac(sf_open_fd(fileno(temporary.get()), SFM_WRITE, &info, SF_FALSE));
    requireTemporary(flac != nullptr);
    sf_command(flac.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
    copy(reader, flac.get(), {firstFrame, frames});
    requireTemporary(sf_close(flac.release()) == 0);
    return contentsOf(temporary.get());
}

} // namespace render
