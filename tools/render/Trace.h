/// What a track did while it was rendered, block by block.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace render {

inline constexpr std::size_t kBands = 3;
inline constexpr const char* kBandNames[kBands]{"low", "mid", "high"};

struct BlockTrace {
    std::array<float, kBands> gainReductionDb{}; ///< 0 or negative
    float inputPeak = 0.0F;                      ///< linear
};

/// The figures and pictures are made from this and from the files alone.
struct TrackTrace {
    std::string name;
    std::string peerName;               ///< empty: unpaired
    std::optional<std::size_t> partner; ///< the track that it is paired with; none: elsewhere
    bool duckSelf = true;
    std::filesystem::path inputPath;
    std::filesystem::path outputPath;
    std::array<double, kBands - 1> splitHz{}; ///< between the bands; 0: unknown
    std::uint64_t frames = 0;                 ///< length of the input
    std::uint64_t outputOffset = 0;           ///< frames by which the output file lags the input
    std::uint64_t clippedSamples = 0;
    std::string damage;          ///< of the input, accepted; empty: it is whole
    double gainTimeOffset = 0.0; ///< seconds by which a block's gain concerns earlier input
    std::vector<BlockTrace> blocks;
};

struct RenderResult {
    double sampleRate = 0.0;
    std::uint32_t blockSize = 0;
    double audioSeconds = 0.0; ///< processed, all tracks in lockstep
    double wallSeconds = 0.0;  ///< for it
    std::vector<TrackTrace> tracks;

    [[nodiscard]] double blockSeconds() const { return blockSize / sampleRate; }
};

/// Mean and most of the gain reduction of one band, dB; 0 for no blocks.
struct ReductionFigures {
    double meanDb = 0.0;
    double mostDb = 0.0;
};
[[nodiscard]] inline ReductionFigures reductionOf(const TrackTrace& track, std::size_t band) {
    ReductionFigures figures;
    for (const BlockTrace& block : track.blocks) {
        const auto reductionDb = static_cast<double>(block.gainReductionDb[band]);
        figures.meanDb += reductionDb / static_cast<double>(track.blocks.size());
        figures.mostDb = std::min(figures.mostDb, reductionDb);
    }
    return figures;
}

} // namespace render
