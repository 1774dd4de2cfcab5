#include "tools/demo/Signals.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <random>

namespace demo {
namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;

std::size_t framesOf(double seconds) { return static_cast<std::size_t>(seconds * kSampleRate); }

/// One cycle of harmonics that fall off as a saw wave's do and faster above cornerHz, up to six
/// times that: no aliasing and no filter.
class Voice {
public:
    Voice(double hz, double cornerHz, double phaseTurns = 0.0)
        : pitchHz(hz), startTurns(phaseTurns) {
        for (int n = 1; n * hz < 6.0 * cornerHz; ++n)
            addHarmonic(n, 1.0 / n / (1.0 + std::pow(n * hz / cornerHz, 2.0)));
    }

    [[nodiscard]] double at(double seconds) const {
        const double turns = pitchHz * seconds + startTurns;
        const double position = (turns - std::floor(turns)) * kTableSize;
        const auto below = static_cast<std::size_t>(position);
        return std::lerp(table[below], table[(below + 1) % kTableSize],
                         position - static_cast<double>(below));
    }

private:
    static constexpr std::size_t kTableSize = 8192;

    void addHarmonic(int n, double level) {
        for (std::size_t i = 0; i < kTableSize; ++i)
            table[i] += level * std::sin(kTwoPi * n * static_cast<double>(i) / kTableSize);
    }

    double pitchHz;
    double startTurns;
    std::vector<double> table = std::vector<double>(kTableSize);
};

/// 0 at both ends, 1 between; the flanks last rampSeconds.
double fadeInOut(double seconds, double length, double rampSeconds) {
    const double edge = std::min(seconds, length - seconds) / rampSeconds;
    return std::sin(std::clamp(edge, 0.0, 1.0) * std::numbers::pi / 2.0);
}

void addVoice(std::vector<double>& channel, const Voice& voice, double gain, double from,
              double length, double rampSeconds) {
    const std::size_t first = framesOf(from);
    const std::size_t end = std::min(channel.size(), first + framesOf(length));
    for (std::size_t i = first; i < end; ++i) {
        const double seconds = static_cast<double>(i - first) / kSampleRate;
        channel[i] += gain * voice.at(seconds) * fadeInOut(seconds, length, rampSeconds);
    }
}

/// A plucked string as a delay line of noise that is smoothed with each turn (Karplus and Strong).
/// The noise comes from a fixed sequence: the same sound every time.
void pluck(std::vector<double>& channel, double hz, double gain, double from, double length) {
    constexpr double kLoss = 0.997;
    std::vector<double> string(static_cast<std::size_t>(kSampleRate / hz));
    std::minstd_rand noise(static_cast<unsigned>(hz + 1000.0 * from) + 1U);
    for (double& point : string)
        point = std::uniform_real_distribution<double>(-1.0, 1.0)(noise);
    const std::size_t first = framesOf(from);
    const std::size_t end = std::min(channel.size(), first + framesOf(length));
    for (std::size_t i = first, at = 0; i < end; ++i) {
        const std::size_t next = at + 1 == string.size() ? 0 : at + 1;
        const double seconds = static_cast<double>(i - first) / kSampleRate;
        channel[i] += gain * string[at] * fadeInOut(seconds, length, 0.003);
        string[at] = kLoss * 0.5 * (string[at] + string[next]);
        at = next;
    }
}

double kickAt(double seconds) {
    // The integral of 48 + 130·e^(−t/30 ms), so that the pitch falls without a jump in phase.
    const double turns = 48.0 * seconds + 130.0 * 0.03 * (1.0 - std::exp(-seconds / 0.03));
    const double body = std::sin(kTwoPi * turns) * std::exp(-seconds / 0.14);
    const double click = std::sin(kTwoPi * 2800.0 * seconds) * std::exp(-seconds / 0.003);
    return 0.85 * body + 0.12 * click;
}

} // namespace

Sound makeKick(double seconds) {
    constexpr double kBeat = 0.5;
    std::vector<double> channel(framesOf(seconds));
    for (std::size_t i = 0; i < channel.size(); ++i)
        channel[i] = kickAt(std::fmod(static_cast<double>(i) / kSampleRate, kBeat));
    return {channel};
}

Sound makeBass(double seconds) {
    constexpr double kBar = 2.0;
    constexpr std::array<double, 4> kNotesHz{55.0, 43.654, 65.406, 48.999}; // A, F, C, G
    std::vector<double> channel(framesOf(seconds));
    std::size_t bar = 0;
    for (double from = 0.0; from < seconds; from += kBar, ++bar)
        addVoice(channel, Voice(kNotesHz[bar % kNotesHz.size()], 420.0), 0.38, from, kBar, 0.02);
    return {channel};
}

Sound makePad(double seconds) {
    constexpr std::array<double, 4> kChordHz{174.614, 220.0, 261.626, 329.628}; // F A C E
    constexpr std::array<double, 3> kDetune{0.9965, 1.0, 1.0035};
    Sound sound(2, std::vector<double>(framesOf(seconds)));
    double phase = 0.0;
    for (const double hz : kChordHz)
        for (std::size_t i = 0; i < kDetune.size(); ++i) {
            const Voice voice(hz * kDetune[i], 1800.0, phase);
            const double pan = static_cast<double>(i) / (kDetune.size() - 1.0);
            addVoice(sound[0], voice, 0.075 * (1.0 - 0.7 * pan), 0.0, seconds, 1.0);
            addVoice(sound[1], voice, 0.075 * (0.3 + 0.7 * pan), 0.0, seconds, 1.0);
            phase += 0.381966; // golden section: no two voices start together
        }
    return sound;
}

Sound makeRhythmGuitar(double seconds) {
    constexpr double kStrum = 0.25;
    constexpr std::array<double, 4> kChordHz{110.0, 164.814, 220.0, 277.183}; // A
    std::vector<double> channel(framesOf(seconds));
    for (double from = 0.0; from + 0.1 < seconds; from += kStrum)
        for (std::size_t i = 0; i < kChordHz.size(); ++i)
            pluck(channel, kChordHz[i], 0.3, from + 0.008 * static_cast<double>(i), kStrum);
    return {channel};
}

Sound makeLeadGuitar(double seconds) {
    constexpr double kNote = 1.0; // half of it silence
    constexpr std::array<double, 4> kNotesHz{329.628, 440.0, 391.995, 277.183}; // E A G C#
    std::vector<double> channel(framesOf(seconds));
    std::size_t note = 0;
    for (double from = 0.0; from + 0.1 < seconds; from += kNote, ++note)
        pluck(channel, kNotesHz[note % kNotesHz.size()], 0.8, from, 0.5);
    return {channel};
}

double secondsOf(const Sound& sound) {
    return static_cast<double>(sound.front().size()) / kSampleRate;
}

} // namespace demo
