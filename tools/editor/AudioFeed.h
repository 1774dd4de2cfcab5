/// What a track plays, over and over.
#pragma once

#include "tools/common/AudioFile.h"

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace editor {

/// A stereo loop in memory. [main to make, then audio]
class AudioFeed {
public:
    /// The channels are of one length, which is not 0.
    AudioFeed(std::string name, int sampleRate, std::vector<float> left, std::vector<float> right);

    /// Reads a mono or stereo file, of a longer one the first ten minutes. Throws tools::Failure.
    [[nodiscard]] static AudioFeed fromFile(const std::filesystem::path& path,
                                            tools::Damaged damaged);
    [[nodiscard]] static AudioFeed kick();
    [[nodiscard]] static AudioFeed bass();

    [[nodiscard]] const std::string& name() const { return label; }
    [[nodiscard]] int sampleRate() const { return rateHz; } ///< Hz

    /// The next samples of the loop; the spans are of one length.
    void read(std::span<float> left, std::span<float> right);

private:
    std::string label;
    int rateHz;
    std::vector<float> leftLoop;
    std::vector<float> rightLoop;
    std::size_t position = 0;
};

} // namespace editor
