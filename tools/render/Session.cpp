#include "tools/render/Session.h"

#include "host/Params.h"
#include "tools/render/Failure.h"
#include "tools/render/OutputPaths.h"
#include "tools/render/ParamSettings.h"
#include "tools/render/PluginPath.h"
#include "tools/render/Registry.h"
#include "tools/render/StateFiles.h"
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
        saveStates();
        return collect();
    }

private:
    void createTracks();
    void identify(std::size_t index);
    void setUp(std::size_t index);
    void traceSetup(std::size_t index);
    void checkSampleRates() const;
    void prepareTracks();
    void pairTracks();
    void pairTwo(std::size_t a, std::size_t b);
    void openOutputs();
    void processAll(const ProgressSink& progress);
    void processBlock(std::uint32_t frames);
    void saveStates() const;
    [[nodiscard]] const shm::SlotSnapshot& slotOf(std::size_t index) const;
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
        setUp(mTracks.size() - 1);
        traceSetup(mTracks.size() - 1);
    }
}

void Session::identify(std::size_t index) {
    const std::uint64_t id = mRegistry.identifyNewInstance();
    if (id == 0)
        fail("the registry has no free slot for track " + std::to_string(index + 1) +
             ": close other instances, or use --private");
    mIds.push_back(id);
}

/// The state first, so that what the command line says goes on top of it.
void Session::setUp(std::size_t index) {
    const TrackOptions& options = mOptions.tracks[index];
    host::Instance& instance = mTracks[index]->instance();
    if (options.loadState)
        loadStateFile(instance, *options.loadState, index + 1);
    if (options.displayName || !options.loadState)
        mRegistry.rename(mIds[index], options.displayName.value_or(fileName(options)));
    if (options.duckSelf)
        mRegistry.setDuckSelf(mIds[index], *options.duckSelf);
    applySettings(host::Params(instance), options.settings, index + 1);
}

void Session::traceSetup(std::size_t index) {
    TrackTrace& trace = mTracks[index]->trace();
    const host::Params params(mTracks[index]->instance());
    trace.splitHz = {plainValue(params, "FreqLow"), plainValue(params, "FreqHigh")};
    mRegistry.refresh();
    const shm::SlotSnapshot& slot = slotOf(index);
    trace.name = slot.name;
    trace.duckSelf = slot.duckSelf;
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
    mTracks[a]->trace().peerName = mTracks[b]->trace().name;
    mTracks[b]->trace().peerName = mTracks[a]->trace().name;
}

const shm::SlotSnapshot& Session::slotOf(std::size_t index) const {
    const shm::SlotSnapshot* slot = mRegistry.slot(mIds[index]);
    if (slot == nullptr)
        fail("track " + std::to_string(index + 1) + " has lost its slot in the registry");
    return *slot;
}

/// The transform size that the instance has published; the real delay is twice as long.
std::uint64_t Session::latencyOf(std::size_t index) const {
    const std::int32_t latency = slotOf(index).latencySamples;
    if (latency <= 0)
        fail("track " + std::to_string(index + 1) + " has published no latency");
    return static_cast<std::uint64_t>(latency);
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

void Session::saveStates() const {
    for (std::size_t i = 0; i < mTracks.size(); ++i)
        if (const auto& path = mOptions.tracks[i].saveState)
            saveStateFile(mTracks[i]->instance(), *path, i + 1);
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
