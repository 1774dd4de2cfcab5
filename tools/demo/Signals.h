/// The sounds of the demo, made from nothing or from recordings.
#pragma once

#include <filesystem>
#include <vector>

namespace demo {

inline constexpr int kSampleRate = 48000;
inline constexpr int kRecordingRate = 44100; ///< of tabla and guitar

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

/// A recorded tabla, and a recorded guitar chord that is struck four times in the same length;
/// stereo, from sonic-pi-samples. Throw tools::Failure when it is not installed.
[[nodiscard]] Sound loadTabla();
[[nodiscard]] Sound loadGuitar();

/// Of a sound at kSampleRate.
[[nodiscard]] double secondsOf(const Sound& sound);

/// Writes 24-bit WAV. Throws tools::Failure.
void save(const Sound& sound, const std::filesystem::path& path, int sampleRate = kSampleRate);

/// Writes the sum of two files of one rate, stereo, at 0.7 of their levels, as long as the longer.
void saveMix(const std::filesystem::path& a, const std::filesystem::path& b,
             const std::filesystem::path& path);

} // namespace demo
