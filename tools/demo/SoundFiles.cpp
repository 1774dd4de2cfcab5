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
constexpr const char* kRecordings = "/usr/share/sonic-pi/samples";
constexpr std::size_t kStrikes = 4; ///< of the guitar
constexpr double kDampSeconds = 0.05;

/// `package` is what to install when there is no such file.
Sound load(const fs::path& path, int sampleRate, const char* package) {
    if (!fs::exists(path))
        tools::fail(path.string() + " is missing: install " + package + " for the demo");
    tools::AudioReader reader(path);
    if (reader.format().sampleRate != sampleRate)
        tools::fail(path.string() + ": is not sampled at " + std::to_string(sampleRate) + " Hz");
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
        const Sound announcement = load(fs::path(kSpeechFolder) / name, kSampleRate, "alsa-utils");
        channel.insert(channel.end(), announcement[0].begin(), announcement[0].end());
    }
    normalise(channel, kSpeechPeak);
    return {channel};
}

Sound loadTabla() {
    return load(fs::path(kRecordings) / "loop_tabla.flac", kRecordingRate, "sonic-pi-samples");
}

Sound loadGuitar() {
    Sound sound = load(fs::path(kRecordings) / "guit_em9.flac", kRecordingRate, "sonic-pi-samples");
    const std::size_t frames = loadTabla().front().size() / kStrikes;
    const auto damped = static_cast<std::size_t>(kDampSeconds * kRecordingRate);
    for (std::vector<double>& channel : sound) {
        channel.resize(frames);
        for (std::size_t left = 0; left < damped; ++left)
            channel[frames - 1 - left] *= static_cast<double>(left) / static_cast<double>(damped);
        const std::vector<double> strike = channel;
        for (std::size_t i = 1; i < kStrikes; ++i)
            channel.insert(channel.end(), strike.begin(), strike.end());
    }
    return sound;
}

void save(const Sound& sound, const fs::path& path, int sampleRate) {
    const std::size_t frames = sound.front().size();
    const tools::AudioFormat format{sampleRate, static_cast<int>(sound.size()),
                                    SF_FORMAT_WAV | SF_FORMAT_PCM_24, frames};
    tools::AudioWriter writer(path, format, path, {0, frames});
    writer.write(sound.front(), sound.back());
    writer.finish();
    writer.keep();
}

void saveMix(const fs::path& a, const fs::path& b, const fs::path& path) {
    constexpr double kGain = 0.7;
    tools::AudioReader first(a);
    tools::AudioReader second(b);
    const auto frames =
        static_cast<std::size_t>(std::max(first.format().frames, second.format().frames));
    Sound mix(2, std::vector<double>(frames));
    Sound other = mix;
    first.read(mix[0], mix[1]);
    second.read(other[0], other[1]);
    for (std::size_t channel = 0; channel < mix.size(); ++channel)
        for (std::size_t i = 0; i < frames; ++i)
            mix[channel][i] = kGain * (mix[channel][i] + other[channel][i]);
    save(mix, path, first.format().sampleRate);
}

} // namespace demo
