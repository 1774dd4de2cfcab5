/// One file on its way through one plug-in instance.
#pragma once

#include "host/Instance.h"
#include "tools/common/AudioFile.h"
#include "tools/render/Options.h"
#include "tools/render/Trace.h"

#include <cstdint>
#include <optional>

namespace render {

/// Owns instance, reader and writer. In order: construct, prepare, openOutput, process..., finish.
/// All throw tools::Failure. One thread plays main and audio thread. [main]
class Track {
public:
    Track(const host::Library& library, const TrackOptions& options);

    [[nodiscard]] const tools::AudioFormat& format() const { return reader.format(); }
    [[nodiscard]] host::Instance& instance() { return pluginInstance; }

    /// Activates for blocks up to blockSize and starts processing.
    void prepare(std::uint32_t blockSize);

    /// `delayFrames` is what the instance adds. Cut off at the front of the output or, with
    /// `keepDelay`, kept, the output being longer by it.
    void openOutput(const std::filesystem::path& path, std::uint64_t delayFrames, bool keepDelay);

    /// The next `frames` samples, at most the block size.
    void process(std::uint32_t frames);
    void addReduction(const float (&gainReductionDb)[kBands]);
    /// Closes the output, and gives it its name.
    void finish();
    void keep() { writer->keep(); }

    TrackTrace& trace() { return traced; }

private:
    host::HostCallbacks callbacks;
    tools::AudioReader reader;
    host::Instance pluginInstance;
    std::optional<host::AudioBuffers> buffers;
    std::optional<tools::AudioWriter> writer;
    TrackTrace traced;
};

} // namespace render
