/// All tracks, summed.
#pragma once

#include "tools/editor/Track.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace editor {

/// The tracks must outlive it and run at one rate. [audio]
class Mixer {
public:
    static constexpr std::uint32_t kChannels = 2;

    explicit Mixer(const std::vector<std::unique_ptr<Track>>& mixed) : tracks(mixed) {}

    [[nodiscard]] unsigned sampleRate() const {
        return static_cast<unsigned>(tracks.front()->feed().sampleRate());
    }
    /// Plays on by `frames` stereo frames, any number, interleaved into `out`.
    void render(float* out, std::uint32_t frames);

private:
    void renderBlock(float* out, std::uint32_t frames);

    const std::vector<std::unique_ptr<Track>>& tracks;
};

} // namespace editor
