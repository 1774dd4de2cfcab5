/// The sounds of the demo, made from nothing or from recorded speech.
#pragma once

#include <filesystem>
#include <vector>

namespace demo {

inline constexpr int kSampleRate = 48000;

/// One vector a channel, all of one length, within full scale.
using Sound = std::vector<std::vector<double>>;

/// A kick drum on every beat of 120 a minute; mono. A sine that falls from about 180 to 48 Hz.
[[nodiscard]] Sound makeKick(double seconds);
/// A sustained bass line of saw-like notes, one a bar of two seconds; mono.
[[nodiscard]] Sound makeBass(double seconds);
/// A slowly swelling chord of detuned saw-like voices; stereo.
[[nodiscard]] Sound makePad(double seconds);
/// Strummed chords without a pause, and single notes above them, each with a pause after it; mono.
[[nodiscard]] Sound makeRhythmGuitar(double seconds);
[[nodiscard]] Sound makeLeadGuitar(double seconds);

/// The spoken speaker test of alsa-utils, one announcement after another; mono. Throws
/// tools::Failure when it is not installed.
[[nodiscard]] Sound loadSpeech();

[[nodiscard]] double secondsOf(const Sound& sound);

/// Writes 24-bit WAV. Throws tools::Failure.
void save(const Sound& sound, const std::filesystem::path& path);

/// Writes the sum of two files of one length or nearly so, stereo, at 0.7 of their levels.
void saveMix(const std::filesystem::path& a, const std::filesystem::path& b,
             const std::filesystem::path& path);

} // namespace demo
