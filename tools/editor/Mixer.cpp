#include "tools/editor/Mixer.h"

#include <algorithm>

namespace editor {

namespace {
constexpr float kTrackGain = 0.7F;
}

void Mixer::render(float* out, std::uint32_t frames) {
    while (frames > 0) {
        const std::uint32_t block = std::min(frames, Track::kMaxBlock);
        renderBlock(out, block);
        out += std::size_t{block} * kChannels;
        frames -= block;
    }
}

void Mixer::renderBlock(float* out, std::uint32_t frames) {
    std::fill_n(out, std::size_t{frames} * kChannels, 0.0F);
    for (const auto& track : tracks) {
        track->process(frames);
        for (std::uint32_t channel = 0; channel < kChannels; ++channel) {
            const auto samples = track->output(channel);
            for (std::size_t i = 0; i < frames; ++i)
                out[i * kChannels + channel] += kTrackGain * samples[i];
        }
    }
}

} // namespace editor
