/// Instances of the built plug-in file at play, for benchmarks.
#pragma once

#include "bench/Hash.h"
#include "host/AudioBuffers.h"
#include "tests/support/Track.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace bench {

/// Benchmarks play whole laps: full transform frames at every size, and a multiple of three blocks
/// (a spectrum is published with every third) for blocks of up to kMaxBlock samples that divide it.
inline constexpr std::uint32_t kLapFrames = 6144;
inline constexpr std::uint32_t kMaxBlock = 1024;

/// A lap of a chord over noise: every bin is far above the thresholds of a Player.
class Sound {
public:
    explicit Sound(unsigned seed);
    /// From `at` on. The plug-in interfaces want pointers that are not const, and write nothing
    /// through them.
    [[nodiscard]] float* channel(std::size_t channel, std::uint32_t at) const {
        return const_cast<float*>(channels[channel].data()) + at;
    }

private:
    std::array<std::vector<float>, 2> channels;
};

/// One instance, with thresholds so low that a peer that plays reduces every bin: the dearest case.
/// Its samples are 32 bits wide, as most hosts have them, and lie where the host keeps them.
class Player {
public:
    explicit Player(const Sound& played);

    /// Without signal memory. Hz.
    void start(double rate);
    /// A block of the sound from `at` on; `at + frames` is at most kLapFrames. [audio]
    void block(std::uint32_t at, std::uint32_t frames);
    /// What the last block made, and older samples up to kMaxBlock.
    [[nodiscard]] std::span<const float> output(std::uint32_t channel) {
        return audio.output().channel32(channel);
    }

    [[nodiscard]] host::Instance& instance() { return track.instance; }
    [[nodiscard]] std::uint64_t id() const { return track.id(); }

private:
    const Sound& sound;
    support::Track track;
    host::AudioBuffers audio{kMaxBlock, host::SampleFormat::Float32};
};

/// Many of them. Only the first sixteen hold registry slots.
class Rack {
public:
    explicit Rack(std::size_t count);

    /// Pairs the players that hold slots: 0 with 1, 2 with 3...; otherwise all are unpaired.
    void setPaired(bool paired);
    /// Starts the first `count` and plays until their output is steady. Returns its hash.
    std::uint32_t start(std::size_t count, double rate, std::uint32_t blockFrames);
    /// A lap of the first `count`, block by block in turn. [audio]
    void playLap(std::size_t count, std::uint32_t blockFrames);
    [[nodiscard]] Player& operator[](std::size_t player) { return *players[player]; }

private:
    std::array<Sound, 2> sounds{Sound(1), Sound(2)};
    std::vector<std::unique_ptr<Player>> players;
};

} // namespace bench
