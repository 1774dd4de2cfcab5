#include "tools/common/InstanceSetup.h"

#include "host/Extensions.h"
#include "tools/common/Failure.h"
#include "tools/common/StateFile.h"
#include "tools/state/Print.h"

#include <exception>
#include <string>
#include <vector>

namespace tools {
namespace {

std::string trackText(std::size_t number) { return "track " + std::to_string(number) + ": "; }

} // namespace

void initialise(host::Instance& instance) {
    if (!instance.init())
        fail("the plug-in refused to initialise");
}

void start(host::Instance& instance, std::optional<host::AudioBuffers>& buffers, int sampleRate,
           std::uint32_t maxFrames, host::SampleFormat format) {
    const auto inputs = host::portSpecs(instance, true, format);
    const auto outputs = host::portSpecs(instance, false, format);
    if (inputs.empty() || outputs.empty() || inputs[0].channels != 2 || outputs[0].channels != 2)
        fail("the plug-in has no stereo input and output");
    buffers.emplace(inputs, outputs, maxFrames);
    if (!instance.activate(sampleRate, 1, maxFrames) || !instance.startProcessing())
        fail("the plug-in refused to process at " + std::to_string(sampleRate) + " Hz");
}

void loadStateFile(const host::Instance& instance, const std::filesystem::path& path,
                   std::size_t trackNumber) {
    std::vector<std::uint8_t> bytes;
    try {
        bytes = statefile::read(path);
    } catch (const std::exception& error) {
        fail(trackText(trackNumber) + error.what());
    }
    iplug::IByteChunk chunk;
    chunk.PutBytes(bytes.data(), bytes.size());
    const listing::Listing listing = listing::list(chunk);
    if (!listing::isState(listing) || !host::loadState(instance, bytes))
        fail(trackText(trackNumber) + path.string() + " is refused: " + listing::verdict(listing) +
             " (tessella-state shows more)");
}

void saveStateFile(const host::Instance& instance, const std::filesystem::path& path,
                   std::size_t trackNumber) {
    const auto bytes = host::saveState(instance);
    if (!bytes)
        fail(trackText(trackNumber) + "the plug-in saved no state");
    statefile::write(path, *bytes);
}

} // namespace tools
