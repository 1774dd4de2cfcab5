#include "plugin/TessellaDuckwork.h"

#include "dsp/Bands.h"
#include "dsp/DenormalGuard.h"
#include "dsp/Smoothing.h"

#include <algorithm>
#include <cmath>
#include <utility>

/// What the registry had for this block.
struct TessellaDuckwork::BlockInput {
    TessellaDuckworkSHM::TDAudioReadCycle cycle;
    bool complete = false;  ///< false: closed, or busy and only flags and counters were read
    bool peerValid = false; ///< peerBins hold the spectrum to duck against

    /// There is a peer, and the registry was busy.
    [[nodiscard]] bool MissedPeer() const { return !complete && cycle.remoteId != 0; }
};

clap_process_status TessellaDuckwork::process(const clap_process_t* block) noexcept {
    const dsp::DenormalGuard noDenormals; // also while the host's floats are converted
    if (block != nullptr) {
        const auto frames = static_cast<int>(std::min(block->frames_count, 256U));
        processor.prefetchFor(frames);
        analyzer.prefetchFor(frames);
    }
    return IPlugCLAP::process(block);
}

void TessellaDuckwork::ProcessBlock(const double* const* inputs, double* const* outputs,
                                    int nFrames) {
    blocks = blocks + 1;
    if (silenced.load(std::memory_order_relaxed) && silenced.exchange(false)) {
        spectrumDue = true;
        shm.ForgetPublished();
    }
    const BlockInput input = ReadRegistry();
    if (input.cycle.bypass) {
        PassThrough(inputs, outputs, nFrames);
        return;
    }
    GlideWorkingValues(nFrames);
    const bool stereo = NOutChansConnected() >= 2;
    double* const right = stereo ? outputs[1] : nullptr;
    const bool newFrame = processor.runsFrameWithin(nFrames);
    if (newFrame)
        frameSettings = Settings(input.peerValid);
    processor.stream(frameSettings, inputs[0], stereo ? inputs[1] : nullptr, outputs[0], right,
                     nFrames);
    MeasureLevels(input, newFrame);
    Publish(newFrame);
    HandMetersToEditor();
    analyzer.push(outputs[0], right, nFrames);
    if (input.MissedPeer())
        ReadForNextBlock();
}

/// One busy block after a good one goes on with the spectrum that it holds; from the second on the
/// peer counts as absent, a jump of many dB: before that the block looks some times more, less than
/// a microsecond in all. Blocks of a host's other threads hold the lock for a fifth of one.
TessellaDuckwork::BlockInput TessellaDuckwork::ReadRegistry() {
    constexpr int kLooksMore = 4;
    BlockInput input = LookIntoRegistry();
    for (int look = 0; look < kLooksMore && input.MissedPeer() && !input.peerValid; ++look)
        input = LookIntoRegistry();
    return input;
}

TessellaDuckwork::BlockInput TessellaDuckwork::LookIntoRegistry() {
    BlockInput input;
    input.complete = own.ReadAndSyncInBlock(
        input.cycle, std::span(peerBins).first(static_cast<std::size_t>(PublishedBins())));
    const bool heard = input.complete && input.cycle.audioValid;
    input.peerValid = heard || (input.MissedPeer() && peerHeard);
    peerHeard = heard;
    return input;
}

/// After a busy block, so that two in a row are rare. By now who held the lock has gone on, too.
void TessellaDuckwork::ReadForNextBlock() {
    const BlockInput input = LookIntoRegistry();
    peerLevelDue |= input.cycle.audioNew;
}

/// Bypass: input to output without delay. The engine keeps its old frames.
void TessellaDuckwork::PassThrough(const double* const* inputs, double* const* outputs,
                                   int nFrames) {
    static constexpr std::array<float, dsp::kExchangedBins> kSilence{};
    for (int channel = 0; channel < NOutChansConnected(); ++channel)
        std::transform(inputs[channel], inputs[channel] + nFrames, outputs[channel],
                       [](double x) { return std::isfinite(x) ? x : 0.0; });
    ownLevel.fill(0.0F);
    peerLevel.fill(0.0F);
    grMeter.fill(0.0F);
    std::fill(grSnapshot.begin(), grSnapshot.end(), 0.0F);
    levelsDue = spectrumDue = true;
    shm.WriteAudioCycle(ownLevel.data(), grMeter.data(), kSilence.data(),
                        static_cast<int>(kSilence.size()), true);
    HandMetersToEditor();
}

TessellaDuckwork::WorkingValues TessellaDuckwork::Targets() const {
    return {.reduction = {.thresholdDb = {own.Value(ThreshLow), own.Value(ThreshMid),
                                          own.Value(ThreshHigh)},
                          .ratio = {own.Value(RatioLow), own.Value(RatioMid), own.Value(RatioHigh)},
                          .lowSplitHz = own.Value(FreqLow),
                          .highSplitHz = own.Value(FreqHigh),
                          .hpHz = own.Value(HP),
                          .lpHz = own.Value(LP)},
            .makeupDb = own.Value(Makeup)};
}

void TessellaDuckwork::SnapWorkingValues() {
    working = Targets();
    makeupGain = static_cast<float>(dsp::fromDb(working.makeupDb));
    glideFrames = 0;
    settled = false;
}

void TessellaDuckwork::GlideWorkingValues(int nFrames) {
    const unsigned changes = ParamChanges();
    if (settled && changes == settledChanges && nFrames == glideFrames)
        return;
    if (nFrames != glideFrames)
        glidePart = dsp::glideCoef(nFrames, hostSampleRate);
    glideFrames = nFrames;
    settled = true;
    settledChanges = changes;
    const auto glide = [&](double& value, double target) {
        const double next = value + (target - value) * glidePart;
        settled &= next == value;
        value = next;
    };
    const WorkingValues target = Targets();
    const double makeupBefore = working.makeupDb;
    dsp::ReductionSettings& now = working.reduction;
    const dsp::ReductionSettings& then = target.reduction;
    for (std::size_t band = 0; band < dsp::kBandCount; ++band) {
        glide(now.thresholdDb[band], then.thresholdDb[band]);
        glide(now.ratio[band], then.ratio[band]);
    }
    glide(now.lowSplitHz, then.lowSplitHz);
    glide(now.highSplitHz, then.highSplitHz);
    glide(now.hpHz, then.hpHz);
    glide(now.lpHz, then.lpHz);
    glide(working.makeupDb, target.makeupDb);
    if (working.makeupDb != makeupBefore)
        makeupGain = static_cast<float>(dsp::fromDb(working.makeupDb));
}

dsp::FrameSettings TessellaDuckwork::Settings(bool peerValid) const {
    dsp::FrameSettings settings{.peerMagnitude = peerBins.data(),
                                .peerValid = peerValid,
                                .reduction = working.reduction,
                                .outputGain = makeupGain};
    for (std::size_t band = 0; band < dsp::kBandCount; ++band)
        if (!own.DuckSelf() || !own.IsBandOn(band))
            settings.reduction.ratio[band] = 1.0;
    return settings;
}

/// The own and the peer's level per band, by the parameters' splits, not the gliding ones; only
/// where a frame, a spectrum or a split is new: there are a thousand bins, and blocks of one
/// sample.
void TessellaDuckwork::MeasureLevels(const BlockInput& input, bool newFrame) {
    grMeter = {processor.grLowDb, processor.grMidDb, processor.grHighDb};
    std::copy(grMeter.begin(), grMeter.end(), grSnapshot.begin());

    if (const unsigned changes = ParamChanges(); changes != levelChanges) {
        levelChanges = changes;
        const std::array now = {own.Value(FreqLow), own.Value(FreqHigh)};
        levelsDue |= splits != now;
        splits = now;
    }
    const bool all = std::exchange(levelsDue, false);
    const auto measure = [&](const auto& bins, float scale) {
        const auto binHz = static_cast<float>(hostSampleRate / processor.fftSize);
        return dsp::bandLevels(bins.data(), PublishedBins(), binHz, splits[0], splits[1], scale);
    };
    if (all || newFrame)
        ownLevel = measure(processor.magnitude, dsp::kOwnLevelScale);
    if (!input.peerValid)
        peerLevel = {};
    else if (all || input.cycle.audioNew || peerLevelDue)
        peerLevel = measure(peerBins, dsp::peerLevelScale(processor.fftSize));
    peerLevelDue = !input.peerValid;
}

/// Levels and gain reduction with every block, the spectrum with every third, unless it is there.
void TessellaDuckwork::Publish(bool newFrame) {
    spectrumDue |= newFrame;
    binPublishCounter = (binPublishCounter + 1) % 3;
    const bool writeBins = binPublishCounter == 0 && spectrumDue;
    if (shm.WriteAudioCycle(ownLevel.data(), grMeter.data(), processor.magnitude.data(),
                            PublishedBins(), writeBins) &&
        writeBins)
        spectrumDue = false;
}

int TessellaDuckwork::PublishedBins() const {
    return std::min<int>(processor.numBins, dsp::kExchangedBins);
}

void TessellaDuckwork::GetGainReduction(float& low, float& mid, float& high) const {
    low = grSnapshot[0];
    mid = grSnapshot[1];
    high = grSnapshot[2];
}
