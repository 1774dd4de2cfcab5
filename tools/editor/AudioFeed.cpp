#include "tools/editor/AudioFeed.h"

#include "tools/demo/Signals.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace editor {
namespace {

constexpr std::uint64_t kMaxSeconds = 600;
constexpr std::size_t kReadFrames = 65536;
constexpr double kDemoSeconds = 8.0; ///< four bars: both demo signals meet their start again

std::vector<float> toFloat(const std::vector<double>& samples) {
    std::vector<float> converted(samples.size());
    std::ranges::transform(samples, converted.begin(),
                           [](double sample) { return static_cast<float>(sample); });
    return converted;
}

AudioFeed fromDemo(const char* name, const demo::Sound& sound) {
    return {name, demo::kSampleRate, toFloat(sound.front()), toFloat(sound.back())};
}

} // namespace

AudioFeed::AudioFeed(std::string name, int sampleRate, std::vector<float> left,
                     std::vector<float> right)
    : label(std::move(name)), rateHz(sampleRate), leftLoop(std::move(left)),
      rightLoop(std::move(right)) {}

AudioFeed AudioFeed::fromFile(const std::filesystem::path& path, tools::Damaged damaged) {
    tools::AudioReader reader(path, damaged);
    const auto rate = static_cast<std::uint64_t>(reader.format().sampleRate);
    const auto frames =
        static_cast<std::size_t>(std::min(reader.format().frames, kMaxSeconds * rate));
    std::vector<double> left(kReadFrames);
    std::vector<double> right(kReadFrames);
    std::vector<float> loopLeft(frames);
    std::vector<float> loopRight(frames);
    for (std::size_t at = 0; at < frames; at += kReadFrames) {
        const std::size_t count = std::min(kReadFrames, frames - at);
        reader.read(std::span(left).first(count), std::span(right).first(count));
        for (std::size_t i = 0; i < count; ++i) {
            loopLeft[at + i] = static_cast<float>(left[i]);
            loopRight[at + i] = static_cast<float>(right[i]);
        }
    }
    return {path.filename().string(), reader.format().sampleRate, std::move(loopLeft),
            std::move(loopRight)};
}

AudioFeed AudioFeed::kick() { return fromDemo("kick", demo::makeKick(kDemoSeconds)); }

AudioFeed AudioFeed::bass() { return fromDemo("bass", demo::makeBass(kDemoSeconds)); }

void AudioFeed::read(std::span<float> left, std::span<float> right) {
    for (std::size_t i = 0; i < left.size(); ++i) {
        left[i] = leftLoop[position];
        right[i] = rightLoop[position];
        if (++position == leftLoop.size())
            position = 0;
    }
}

} // namespace editor
