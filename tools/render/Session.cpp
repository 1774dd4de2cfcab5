#include "tools/render/Session.h"

#include "host/Params.h"
#include "tools/common/Failure.h"
#include "tools/common/InstanceSetup.h"
#include "tools/common/Interrupt.h"
#include "tools/common/PluginFile.h"
#include "tools/common/Registry.h"
#include "tools/render/OutputPaths.h"
#include "tools/render/ParamSettings.h"
#include "tools/render/Track.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>
#include <utility>

namespace render {
namespace {

using Clock = std::chrono::steady_clock;

class Session {
public:
    explicit Session(const Options& given)
        : options(given), outputs(resolveOutputs(given)), library(tools::findPlugin(given.plugin)) {
    }

    RenderResult run(const ProgressSink& progress) {
        createTracks();
        checkSampleRates();
        checkOutputs();
        prepareTracks();
        pairTracks();
        openOutputs();
        processAll(progress);
        keepOutputs();
        saveStates();
        return collect();
    }

private:
    void createTracks();
    void identify(std::size_t index);
    void setUp(std::size_t index);
    void traceSetup(std::size_t index);
    void checkSampleRates() const;
    void checkOutputs() const;
    void prepareTracks();
    void pairTracks();
    void openOutputs();
    void processAll(const ProgressSink& progress);
    void processBlock(std::uint32_t frames);
    void notePartner(TrackTrace& trace, std::uint64_t remoteId) const;
    void keepOutputs();
    void saveStates() const;
    [[nodiscard]] const shm::SlotSnapshot& slotOf(std::size_t index) const;
    [[nodiscard]] std::uint64_t latencyOf(std::size_t index) const;
    [[nodiscard]] std::uint64_t totalFrames() const;
    [[nodiscard]] double sampleRate() const { return tracks.front()->format().sampleRate; }
    RenderResult collect();

    const Options& options;
    std::vector<std::filesystem::path> outputs;
    host::Library library;
    tools::Registry registry;
    std::vector<std::unique_ptr<Track>> tracks;
    std::vector<std::uint64_t> ids; ///< registry ids, as the tracks
    double audioSeconds = 0.0;
    double wallSeconds = 0.0;
};

void Session::createTracks() {
    for (const TrackOptions& track : options.tracks) {
        tools::checkInterrupt();
        tracks.push_back(std::make_unique<Track>(library, track));
        identify(tracks.size() - 1);
        setUp(tracks.size() - 1);
        traceSetup(tracks.size() - 1);
    }
}

void Session::identify(std::size_t index) {
    const std::uint64_t id = registry.identifyNewInstance();
    if (id == 0)
        tools::fail(tools::whyNoSlot(index + 1));
    ids.push_back(id);
}

/// The state first, so that what the command line says goes on top of it.
void Session::setUp(std::size_t index) {
    const TrackOptions& wanted = options.tracks[index];
    host::Instance& instance = tracks[index]->instance();
    if (wanted.loadState)
        tools::loadStateFile(instance, *wanted.loadState, index + 1);
    if (wanted.displayName || !wanted.loadState)
        registry.rename(ids[index], wanted.displayName.value_or(fileName(wanted)));
    if (wanted.duckSelf)
        registry.setDuckSelf(ids[index], *wanted.duckSelf);
    applySettings(host::Params(instance), wanted.settings, index + 1);
}

void Session::traceSetup(std::size_t index) {
    TrackTrace& trace = tracks[index]->trace();
    const host::Params params(tracks[index]->instance());
    trace.splitHz = {plainValue(params, "FreqLow"), plainValue(params, "FreqHigh")};
    registry.refresh();
    const shm::SlotSnapshot& slot = slotOf(index);
    trace.name = slot.name;
    trace.duckSelf = slot.duckSelf;
}

void Session::checkSampleRates() const {
    const tools::AudioFormat& first = tracks.front()->format();
    for (std::size_t i = 1; i < tracks.size(); ++i)
        if (tracks[i]->format().sampleRate != first.sampleRate)
            tools::failUsage("sample rates differ: " + options.tracks[0].input.string() + " has " +
                             std::to_string(first.sampleRate) + " Hz, " +
                             options.tracks[i].input.string() + " has " +
                             std::to_string(tracks[i]->format().sampleRate) + " Hz");
}

/// While nothing has been written yet.
void Session::checkOutputs() const {
    for (std::size_t i = 0; i < tracks.size(); ++i)
        tools::requireWritable(outputs[i], tracks[i]->format(), options.tracks[i].input);
}

void Session::prepareTracks() {
    for (const auto& track : tracks)
        track->prepare(options.blockSize);
    registry.refresh();
}

void Session::pairTracks() {
    if (!options.pairWith.empty()) {
        const std::uint64_t peer = registry.waitForPeer(options.pairWith, options.waitSeconds);
        registry.pair(ids.front(), peer);
    } else if (!options.pairByStates) {
        for (std::size_t i = 0; i + 1 < tracks.size(); i += 2)
            registry.pair(ids[i], ids[i + 1]);
    }
}

const shm::SlotSnapshot& Session::slotOf(std::size_t index) const {
    const shm::SlotSnapshot* slot = registry.slot(ids[index]);
    if (slot == nullptr)
        tools::fail("track " + std::to_string(index + 1) + " has lost its slot in the registry");
    return *slot;
}

/// The transform size that the instance has published; the real delay is twice as long.
std::uint64_t Session::latencyOf(std::size_t index) const {
    const std::int32_t latency = slotOf(index).latencySamples;
    if (latency <= 0)
        tools::fail("track " + std::to_string(index + 1) + " has published no latency");
    return static_cast<std::uint64_t>(latency);
}

void Session::openOutputs() {
    for (const auto& folder : {options.outputFolder, options.page})
        if (folder)
            createFolder(*folder);
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        const std::uint64_t latency = latencyOf(i);
        tracks[i]->openOutput(outputs[i], 2 * latency, options.rawDelay);
        // A frame's gains come from the newest samples and act on a frame as old as its middle.
        tracks[i]->trace().gainTimeOffset = static_cast<double>(latency) / 2 / sampleRate();
    }
}

std::uint64_t Session::totalFrames() const {
    std::uint64_t longest = 0;
    for (std::size_t i = 0; i < tracks.size(); ++i)
        longest = std::max(longest, tracks[i]->format().frames + 2 * latencyOf(i));
    return longest;
}

void Session::processAll(const ProgressSink& progress) {
    const std::uint64_t total = totalFrames();
    const auto start = Clock::now();
    std::uint64_t done = 0;
    while (done < total) {
        const auto frames =
            static_cast<std::uint32_t>(std::min<std::uint64_t>(options.blockSize, total - done));
        tools::checkInterrupt();
        processBlock(frames);
        done += frames;
        if (options.realtime)
            std::this_thread::sleep_until(
                start + std::chrono::duration<double>(static_cast<double>(done) / sampleRate()));
        progress(static_cast<double>(done) / static_cast<double>(total));
    }
    audioSeconds = static_cast<double>(total) / sampleRate();
    wallSeconds = std::chrono::duration<double>(Clock::now() - start).count();
}

void Session::processBlock(std::uint32_t frames) {
    for (const auto& track : tracks)
        track->process(frames);
    registry.refresh();
    for (std::size_t i = 0; i < tracks.size(); ++i)
        if (const shm::SlotSnapshot* slot = registry.slot(ids[i])) {
            tracks[i]->addReduction(slot->gainReduction);
            notePartner(tracks[i]->trace(), slot->remoteId);
        }
}

/// The first that a track has: one that pairs by itself may find it later, or leave it again.
void Session::notePartner(TrackTrace& trace, std::uint64_t remoteId) const {
    const shm::SlotSnapshot* peer = trace.peerName.empty() ? registry.slot(remoteId) : nullptr;
    if (peer == nullptr)
        return;
    trace.peerName = peer->name;
    const auto found = std::find(ids.begin(), ids.end(), remoteId);
    if (found != ids.end())
        trace.partner = static_cast<std::size_t>(found - ids.begin());
}

/// Only once all of them are whole: one that fails leaves none.
void Session::keepOutputs() {
    for (const auto& track : tracks)
        track->finish();
    for (const auto& track : tracks)
        track->keep();
}

void Session::saveStates() const {
    for (std::size_t i = 0; i < tracks.size(); ++i)
        if (const auto& path = options.tracks[i].saveState)
            tools::saveStateFile(tracks[i]->instance(), *path, i + 1);
}

RenderResult Session::collect() {
    RenderResult result;
    result.sampleRate = sampleRate();
    result.blockSize = options.blockSize;
    result.audioSeconds = audioSeconds;
    result.wallSeconds = wallSeconds;
    for (const auto& track : tracks)
        result.tracks.push_back(std::move(track->trace()));
    return result;
}

} // namespace

RenderResult renderSession(const Options& options, const ProgressSink& progress) {
    try {
        return Session(options).run(progress);
    } catch (const host::HostError& error) {
        tools::fail(error.what());
    }
}

std::string listParams(const Options& options) {
    try {
        const host::Library library(tools::findPlugin(options.plugin));
        host::HostCallbacks callbacks;
        host::Instance instance(library, callbacks);
        tools::initialise(instance);
        return describeParams(host::Params(instance));
    } catch (const host::HostError& error) {
        tools::fail(error.what());
    }
}

} // namespace render
