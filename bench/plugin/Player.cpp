#include "bench/plugin/Player.h"

#include "tests/support/Signals.h"

namespace bench {
namespace {

constexpr double kRate = 48000.0;
constexpr int kSettlingLaps = 4; ///< more than the longest delay, 2 · 4096 samples

/// Puts silence in place of the spectrum that an earlier benchmark has left in the registry: an
/// instance publishes it with a bypassed block. A peer's output would depend on it.
void silencePublished(Player& player) {
    shm::RegistryMonitor monitor;
    if (player.id() == 0 || !monitor.Attach())
        return;
    monitor.SetBypassOf(player.id(), true);
    player.block(0, kMaxBlock);
    monitor.SetBypassOf(player.id(), false);
}

} // namespace

Sound::Sound(unsigned seed) {
    const auto chord = support::tones(kLapFrames, kRate, 0.5);
    const auto noise = support::noise(kLapFrames, 0.3, seed);
    for (std::size_t i = 0; i < kLapFrames; ++i) {
        channels[0].push_back(static_cast<float>(chord.left[i] + noise.left[i]));
        channels[1].push_back(static_cast<float>(chord.right[i] + noise.right[i]));
    }
}

Player::Player(const Sound& played) : sound(played) {
    track.set({{ThreshLow, -60.0}, {ThreshMid, -60.0}, {ThreshHigh, -60.0}});
}

void Player::start(double rate) {
    host::Instance& instance = track.instance;
    instance.stopProcessing();
    instance.deactivate();
    if (!instance.activate(rate, 1, kMaxBlock) || !instance.startProcessing())
        throw host::HostError("activation refused");
}

void Player::block(std::uint32_t at, std::uint32_t frames) {
    for (const std::size_t channel : {0U, 1U})
        audio.inputRecords()[0].data32[channel] = sound.channel(channel, at);
    track.instance.process(audio, frames);
}

Rack::Rack(std::size_t count) {
    while (players.size() < count)
        players.push_back(std::make_unique<Player>(sounds[players.size() % 2]));
}

void Rack::setPaired(bool paired) {
    shm::RegistryMonitor monitor;
    bool done = monitor.Attach();
    for (std::size_t i = 0; i + 1 < players.size() && players[i + 1]->id() != 0; i += 2)
        done = done && (paired ? monitor.Pair(players[i]->id(), players[i + 1]->id())
                               : monitor.Unpair(players[i]->id()));
    if (!done)
        throw host::HostError("the registry refuses a pairing");
}

std::uint32_t Rack::start(std::size_t count, double rate, std::uint32_t blockFrames) {
    for (std::size_t i = 0; i < count; ++i) {
        players[i]->start(rate);
        silencePublished(*players[i]);
    }
    // A hash a channel: the size of the blocks, in which channels take turns, is not to change it.
    std::vector<std::array<Hash, 2>> hashes(count);
    for (int lap = 0; lap < kSettlingLaps; ++lap)
        for (std::uint32_t at = 0; at < kLapFrames; at += blockFrames)
            for (std::size_t i = 0; i < count; ++i) {
                players[i]->block(at, blockFrames);
                for (const std::uint32_t channel : {0U, 1U})
                    hashes[i][channel].add(players[i]->output(channel).first(blockFrames));
            }
    Hash all;
    for (const auto& [left, right] : hashes) {
        all.add(left.value());
        all.add(right.value());
    }
    return all.value();
}

void Rack::playLap(std::size_t count, std::uint32_t blockFrames) {
    for (std::uint32_t at = 0; at < kLapFrames; at += blockFrames)
        for (std::size_t i = 0; i < count; ++i)
            players[i]->block(at, blockFrames);
}

} // namespace bench
