#include "tools/render/Session.h"

#include "host/Params.h"
#include "tools/render/Failure.h"
#include "tools/render/OutputPaths.h"
#include "tools/render/ParamSettings.h"
#include "tools/render/PluginPath.h"
#include "tools/render/Registry.h"
#include "tools/render/Track.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>

namespace render {
namespace {

using Clock = std::chrono::steady_clock;

class Session {
public:
    explicit Session(const Options& options)
        : mOptions(options), mOutputs(resolveOutputs(options)),
          mLibrary(findPlugin(options.plugin)) {}

    RenderResult run(const ProgressSink& progress) {
        createTracks();
        checkSampleRates();
        prepareTracks();
        pairTracks();
        openOutputs();
        processAll(progress);
        return collect();
    }

private:
    void createTracks();
    void identify(std::size_t index);
    void checkSampleRates() const;
    void prepareTracks();
    void pairTracks();
    void pairTwo(std::size_t a, std::size_t b);
    void openOutputs();
    void processAll(const ProgressSink& progress);
    void processBlock(std::uint32_t frames);
    [[nodiscard]] std::uint64_t latencyOf(std::size_t index) const;
    [[nodiscard]] std::uint64_t totalFrames() const;
    [[nodiscard]] double sampleRate() const { return mTracks.front()->format().sampleRate; }
    RenderResult collect();

    const Options& mOptions;
    std::vector<std::filesystem::path> mOutputs;
    host::Library mLibrary;
    Registry mRegistry;
    std::vector<std::unique_ptr<Track>> mTracks;
    std::vector<std::uint64_t> mIds; ///< registry ids, as the tracks
    double mAudioSeconds = 0.0;
    double mWallSeconds = 0.0;
};

void Session::createTracks() {
    for (const TrackOptions& track : mOptions.tracks) {
        mTracks.push_back(std::make_unique<Track>(mLibrary, track));
        identify(mTracks.size() - 1);
        const host::Params params(mTracks.back()->instance());
        applySettings(params, track.settings, mTracks.size());
        mTracks.back()->trace().splitHz = {plainValue(params, "FreqLow"),
                                           plainValue(params, "FreqHigh")};
    }
}

void Session::identify(std::size_t index) {
    const std::uint64_t id = mRegistry.identifyNewInstance();
    if (id == 0)
        fail("the registry has no free slot for track " + std::to_string(index + 1) +
             ": close other instances, or use --private");
    mIds.push_back(id);
    mRegistry.rename(id, mOptions.tracks[index].displayName);
    mRegistry.setDuckSelf(id, mOptions.tracks[index].duckSelf);
}

void Session::checkSampleRates() const {
    const AudioFormat& first = mTracks.front()->format();
    for (std::size_t i = 1; i < mTracks.size(); ++i)
        if (mTracks[i]->format().sampleRate != first.sampleRate)
            failUsage("sample rates differ: " + mOptions.tracks[0].input.string() + " has " +
                      std::to_string(first.sampleRate) + " Hz, " +
                      mOptions.tracks[i].input.string() + " has " +
                      std::to_string(mTracks[i]->format().sampleRate) + " Hz");
}

void Session::prepareTracks() {
    for (const auto& track : mTracks)
        track->prepare(mOptions.blockSize);
    mRegistry.refresh();
}

void Session::pairTracks() {
    if (!mOptions.pairWith.empty()) {
        const std::uint64_t peer = mRegistry.waitForPeer(mOptions.pairWith, mOptions.waitSeconds);
        mRegistry.pair(mIds.front(), peer);
        mTracks.front()->trace().peerName = mOptions.pairWith;
        return;
    }
    for (std::size_t i = 0; i + 1 < mTracks.size(); i += 2)
        pairTwo(i, i + 1);
}

void Session::pairTwo(std::size_t a, std::size_t b) {
    mRegistry.pair(mIds[a], mIds[b]);
    mTracks[a]->trace().peerName = mOptions.tracks[b].displayName;
    mTracks[b]->trace().peerName = mOptions.tracks[a].displayName;
}

/// The transform size that the instance has published; the real delay is twice as long.
std::uint64_t Session::latencyOf(std::size_t index) const {
    const shm::SlotSnapshot* slot = mRegistry.slot(mIds[index]);
    if (slot == nullptr || slot->latencySamples <= 0)
        fail("track " + std::to_string(index + 1) + " has lost its slot in the registry");
    return static_cast<std::uint64_t>(slot->latencySamples);
}

void Session::openOutputs() {
    for (std::size_t i = 0; i < mTracks.size(); ++i) {
        const std::uint64_t latency = latencyOf(i);
        mTracks[i]->openOutput(mOutputs[i], 2 * latency, mOptions.rawDelay);
        // A frame's gains come from the newest samples and act on a frame as old as its middle.
        mTracks[i]->trace().gainTimeOffset = static_cast<double>(latency) / 2 / sampleRate();
    }
}

std::uint64_t Session::totalFrames() const {
    std::uint64_t longest = 0;
    for (std::size_t i = 0; i < mTracks.size(); ++i)
        longest = std::max(longest, mTracks[i]->format().frames + 2 * latencyOf(i));
    return longest;
}

void Session::processAll(const ProgressSink& progress) {
    const std::uint64_t total = totalFrames();
    const auto start = Clock::now();
    std::uint64_t done = 0;
    while (done < total) {
        const auto frames =
            static_cast<std::uint32_t>(std::min<std::uint64_t>(mOptions.blockSize, total - done));
        processBlock(frames);
        done += frames;
        if (mOptions.realtime)
            std::this_thread::sleep_until(
                start + std::chrono::duration<double>(static_cast<double>(done) / sampleRate()));
        progress(static_cast<double>(done) / static_cast<double>(total));
    }
    mAudioSeconds = static_cast<double>(total) / sampleRate();
    mWallSeconds = std::chrono::duration<double>(Clock::now() - start).count();
}

void Session::processBlock(std::uint32_t frames) {
    for (const auto& track : mTracks)
        track->process(frames);
    mRegistry.refresh();
    for (std::size_t i = 0; i < mTracks.size(); ++i)
        if (const shm::SlotSnapshot* slot = mRegistry.slot(mIds[i]))
            mTracks[i]->addReduction(slot->gainReduction);
}

RenderResult Session::collect() {
    RenderResult result;
    result.sampleRate = sampleRate();
    result.blockSize = mOptions.blockSize;
    result.audioSeconds = mAudioSeconds;
    result.wallSeconds = mWallSeconds;
    for (const auto& track : mTracks)
        result.tracks.push_back(track->finish());
    return result;
}

} // namespace

RenderResult renderSession(const Options& options, const ProgressSink& progress) {
    try {
        return Session(options).run(progress);
    } catch (const host::HostError& error) {
        fail(error.what());
    }
}

std::string listParams(const Options& options) {
    try {
        const host::Library library(findPlugin(options.plugin));
        host::HostCallbacks callbacks;
        host::Instance instance(library, callbacks);
        if (!instance.init())
            fail("the plug-in refused to initialise");
        return describeParams(host::Params(instance));
    } catch (const host::HostError& error) {
        fail(error.what());
    }
}

} // namespace render
