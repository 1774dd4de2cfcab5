#include "tools/editor-shots/Listening.h"

#include "dsp/SpectralProcessor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <vector>

namespace shots {
namespace {

constexpr std::size_t kBlock = 128;
constexpr int kPublishEvery = 3; ///< blocks, as instances do with their spectra
constexpr double kFramesPerSecond = 60.0;

/// The engine's three bands; those that the editor lacks are as its last one.
dsp::ReductionSettings reductionOf(const shm::Settings& settings) {
    const shm::BandSet& bands = settings.bands;
    dsp::ReductionSettings reduction;
    for (int i = 0; i < shm::kBandCount; ++i) {
        const TDBand& band = bands.OrLast(i);
        reduction.thresholdDb[std::size_t(i)] = band.threshDb;
        reduction.ratio[std::size_t(i)] = band.enabled ? band.ratio : 1.0F;
    }
    reduction.lowSplitHz = bands.count >= 2 ? bands[0].hiHz : shm::kLowSplitHz.min;
    reduction.highSplitHz = bands.count >= 3 ? bands[1].hiHz : shm::kHighSplitHz.max;
    reduction.hpHz = settings.filters.hpHz;
    reduction.lpHz = settings.filters.lpHz;
    return reduction;
}

/// An instance as far as a picture shows it.
class Listener {
public:
    Listener(const demo::Sound& played, const shm::Settings& settings)
        : sound(played), frame{.reduction = reductionOf(settings)},
          engine(std::make_unique<dsp::SpectralProcessor>()) {
        engine->reset(demo::kSampleRate);
        engine->setTimes(settings.controls.attackMs, settings.controls.releaseMs);
        scale.retune(engine->sampleRate, engine->fftSize, dsp::kExchangedBins);
    }

    /// The next block, against what the other has published; null: not ducked.
    void play(const Listener* other) {
        std::array<double, kBlock> left{}, right{};
        for (std::size_t i = 0; i < kBlock; ++i, position = (position + 1) % sound.front().size()) {
            left[i] = sound.front()[position];
            right[i] = sound.back()[position];
        }
        frame.peerValid = other != nullptr;
        frame.peerMagnitude = other != nullptr ? other->published.data() : nullptr;
        engine->stream(frame, left.data(), right.data(), left.data(), right.data(), kBlock);
    }
    void publish() { engine->readMagnitude(published); }
    void show() { scale.follow(published, levels); }

    [[nodiscard]] const dsp::DisplayLevels& shown() const { return levels; }
    [[nodiscard]] ui::ThreeFloats reductionDb() const {
        return {engine->grLowDb, engine->grMidDb, engine->grHighDb};
    }

private:
    const demo::Sound& sound;
    dsp::FrameSettings frame;
    std::unique_ptr<dsp::SpectralProcessor> engine;
    dsp::DisplayScale scale;
    dsp::DisplayLevels levels = dsp::silentLevels();
    std::array<float, dsp::kExchangedBins> published{};
    std::size_t position = 0;
};

} // namespace

void listen(Scene& scene) {
    EditorView& view = scene.panel.view;
    Listener own(scene.sounds->own, view.own);
    Listener peer(scene.sounds->peer, view.peer);
    const bool paired = scene.panel.peerLinked();
    double shownSeconds = 0.0;
    double seconds = 0.0;
    for (int block = 0; seconds < scene.seconds; ++block) {
        own.play(paired && view.ownDuck && !view.ownBypass ? &peer : nullptr);
        peer.play(paired && view.peerDuck && !view.peerBypass ? &own : nullptr);
        if (block % kPublishEvery == 0) {
            own.publish();
            peer.publish();
        }
        seconds += double(kBlock) / demo::kSampleRate;
        if (seconds - shownSeconds >= 1.0 / kFramesPerSecond) {
            shownSeconds = seconds;
            own.show();
            peer.show();
        }
    }
    scene.panel.localLevels = own.shown();
    scene.meters.reductionDb = own.reductionDb();
    if (paired) {
        scene.panel.remoteLevels = peer.shown();
        view.peerReductionDb = peer.reductionDb();
    }
}

} // namespace shots
