#include "tools/editor-shots/Spectra.h"

#include "ui/Canvas.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace shots {
namespace {

struct Resonance {
    float hz, levelDb, octaves; ///< octaves: half-width
};

/// A sound: a fundamental with harmonics that lose slopeDb an octave, shaped by resonances, over
/// noise.
struct Sound {
    float fundamentalHz, levelDb, slopeDb, noiseDb;
    std::array<Resonance, 3> resonances;
};

/// Evenly spread in -1 to 1, always the same for an index.
float grain(std::uint32_t index) {
    std::uint32_t x = index * 2654435761U;
    x ^= x >> 15;
    x *= 2246822519U;
    x ^= x >> 13;
    return static_cast<float>(x) / 2147483648.0F - 1.0F;
}

float resonanceDb(const Sound& sound, float hz) {
    float sum = 0.0F;
    for (const Resonance& r : sound.resonances) {
        const float away = std::log2(hz / r.hz) / r.octaves;
        sum += r.levelDb * std::exp(-away * away);
    }
    return sum;
}

/// How far below the harmonics' crest a frequency lies, dB. Far up a display band holds several
/// harmonics, and the valleys fill.
float valleyDb(const Sound& sound, float hz) {
    const float harmonic = std::max(hz / sound.fundamentalHz, 0.5F);
    const float away = std::abs(harmonic - std::max(1.0F, std::round(harmonic)));
    return std::min(40.0F, 140.0F * away * away) / (1.0F + 0.012F * harmonic * harmonic);
}

float levelOf(const Sound& sound, float hz, std::uint32_t index) {
    const float octaves = std::log2(hz / sound.fundamentalHz);
    const float crest =
        sound.levelDb - sound.slopeDb * std::max(octaves, -2.0F * octaves) + resonanceDb(sound, hz);
    const float tone = crest - valleyDb(sound, hz);
    const float noise = sound.noiseDb - 1.5F * octaves + 0.5F * resonanceDb(sound, hz);
    return std::clamp(std::max(tone, noise) + 2.0F * grain(index), -100.0F, 0.0F);
}

dsp::DisplayLevels levelsOf(const Sound& sound) {
    dsp::DisplayLevels levels{};
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const float place = static_cast<float>(i) / static_cast<float>(levels.size() - 1);
        levels[i] = levelOf(sound, 20.0F * std::pow(1000.0F, place), static_cast<std::uint32_t>(i));
    }
    return levels;
}

} // namespace

dsp::DisplayLevels voiceLevels() {
    return levelsOf({190.0F,
                     -24.0F,
                     3.5F,
                     -62.0F,
                     {{{600.0F, 6.0F, 0.5F}, {1700.0F, 7.0F, 0.4F}, {7000.0F, 14.0F, 0.7F}}}});
}

dsp::DisplayLevels padLevels() {
    return levelsOf({65.0F,
                     -18.0F,
                     4.2F,
                     -58.0F,
                     {{{130.0F, 4.0F, 0.6F}, {900.0F, 9.0F, 0.9F}, {3500.0F, 6.0F, 0.8F}}}});
}

dsp::DisplayLevels flatLevels(float levelDb) {
    dsp::DisplayLevels levels{};
    levels.fill(levelDb);
    return levels;
}

} // namespace shots
