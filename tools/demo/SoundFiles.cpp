#include "tools/demo/Signals.h"

#include "tools/common/AudioFile.h"
#include "tools/common/Failure.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

namespace demo {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSpeechFolder = "/usr/share/sounds/alsa";
constexpr std::array<const char*, 8> kAnnouncements{
    "Front_Left.wav", "Front_Center.wav", "Front_Right.wav", "Side_Right.wav",
    "Rear_Right.wav", "Rear_Center.wav",  "Rear_Left.wav",   "Side_Left.wav"};
constexpr double kSpeechPeak = 0.8;

Sound load(const fs::path& path) {
    tools::AudioReader reader(path);
    if (reader.format().sampleRate != kSampleRate)
        tools::fail(path.string() + ": is not sampled at 48 kHz");
    const auto frames = static_cast<std::size_t>(reader.format().frames);
    Sound sound(2, std::vector<double>(frames));
    reader.read(sound[0], sound[1]);
    return sound;
}

void normalise(std::vector<double>& channel, double peak) {
    double highest = 1e-9;
    for (const double sample : channel)
        highest = std::max(highest, std::abs(sample));
    for (double& sample : channel)
        sample *= peak / highest;
}

} // namespace

Sound loadSpeech() {
    std::vector<double> channel;
    for (const char* name : kAnnouncements) {
        const fs::path path = fs::path(kSpeechFolder) / name;
        if (!fs::exists(path))
            tools::fail(path.string() + " is missing: install alsa-utils for the speech demo");
        const Sound announcement = load(path);
        channel.insert(channel.end(), announcement[0].begin(), announcement[0].end());
    }
    normalise(channel, kSpeechPeak);
    return {channel};
}

void save(const Sound& sound, const fs::path& path) {
    const std::size_t frames = sound.front().size();
    const tools::AudioFormat format{kSampleRate, static_cast<int>(sound.size()),
                                    SF_FORMAT_WAV | SF_FORMAT_PCM_24, frames};
    tools::AudioWriter writer(path, format, path, {0, frames});
    writer.write(sound.front(), sound.back());
    writer.finish();
    writer.keep();
}

void saveMix(const fs::path& a, const fs::path& b, const fs::path& path) {
    constexpr double kGain = 0.7;
    const Sound first = load(a);
    Sound mix = load(b);
    for (std::size_t channel = 0; channel < mix.size(); ++channel) {
        const std::size_t frames = std::max(first[channel].size(), mix[channel].size());
        mix[channel].resize(frames);
        for (std::size_t i = 0; i < frames; ++i)
            mix[channel][i] =
                kGain * (mix[channel][i] + (i < first[channel].size() ? first[channel][i] : 0.0));
    }
    save(mix, path);
}

} // namespace demo
