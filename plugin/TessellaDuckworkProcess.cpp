#include "plugin/TessellaDuckwork.h"

#include "dsp/Bands.h"
#include "dsp/Smoothing.h"

#include <algorithm>
#include <cmath>
#include <utility>

/// What the registry had for this block.
struct TessellaDuckwork::BlockInput {
    TessellaDuckworkSHM::TDAudioReadCycle cycle;
    bool complete = false; ///< false: closed, or busy and only flags and counters were read
    [[nodiscard]] bool PeerValid() const { return complete && cycle.audioValid; }
};

void TessellaDuckwork::ProcessBlock(const double* const* inputs, double* const* outputs,
                                    int nFrames) {
    TryPublishControls();
    const BlockInput input = TakeRegistryChanges();
    if (input.cycle.bypass) {
        PassThrough(inputs, outputs, nFrames);
        return;
    }
    GlideWorkingValues(nFrames);
    const bool stereo = NOutChansConnected() >= 2;
    double* const right = stereo ? outputs[1] : nullptr;
    const bool newFrame = processor.runsFrameWithin(nFrames);
    processor.stream(Settings(input.PeerValid()), inputs[0], stereo ? inputs[1] : nullptr,
                     outputs[0], right, nFrames);
    MeasureLevels(input, newFrame);
    Publish(newFrame);
    HandMetersToEditor();
    analyzer.push(outputs[0], right, nFrames);
}

/// Reads the registry and applies what has changed there, unless an own write is under way: then
/// the changes wait for a later block.
TessellaDuckwork::BlockInput TessellaDuckwork::TakeRegistryChanges() {
    const AudioGate::Pass pass(applyGate);
    if (pass)
        TryPublishLeftOver();
    const BlockInput input = ReadRegistry();
    if (pass)
        ApplyRegistryChanges(input);
    return input;
}

TessellaDuckwork::BlockInput TessellaDuckwork::ReadRegistry() {
    BlockInput input;
    input.cycle.duckSelf = duckSelf; // what stays when the registry is closed
    try {
        input.complete = shm.ReadAudioCycle(lastBandsSeq, lastHpLpSeq, lastControlsSeq, input.cycle,
                                            peerBins.data(), static_cast<int>(peerBins.size()));
    } catch (const boost::interprocess::interprocess_exception&) {
        // A broken lock counts as a busy one; the flags have been read before it.
    }
    return input;
}

/// Takes changed settings groups into the parameters. Deliberate: with a busy registry a changed
/// group stands at its defaults, with counter 0, until the next block reads it again.
void TessellaDuckwork::ApplyRegistryChanges(const BlockInput& input) {
    const auto& cycle = input.cycle;
    if (!cycle.bypass && !IsUnpublished(Priority))
        duckSelf = cycle.duckSelf;
    if (cycle.bandsChanged && cycle.bandCount > 0 && !IsUnpublished(BandSet))
        ApplyBands(cycle);
    if (cycle.hpLpChanged && !IsUnpublished(Filters)) {
        TakeCounter(lastHpLpSeq, seenHpLpSeq, cycle.hpLpSeq, input.complete);
        SetFromRegistry(HP, cycle.hpHz, input.complete);
        SetFromRegistry(LP, cycle.lpHz, input.complete);
    }
    if (cycle.controlsChanged && !controlsUnpublished) {
        TakeCounter(lastControlsSeq, seenControlsSeq, cycle.controlsSeq, input.complete);
        SetFromRegistry(Attack, cycle.controls[0], input.complete);
        SetFromRegistry(Release, cycle.controls[1], input.complete);
        SetFromRegistry(Makeup, cycle.controls[2], input.complete);
        UpdateEnvelope();
    }
}

/// The band set as splits, thresholds and ratios. With fewer than three bands the last one's
/// values fill the rest; a disabled band has ratio 1.
void TessellaDuckwork::ApplyBands(const TessellaDuckworkSHM::TDAudioReadCycle& cycle) {
    lastBandsSeq = cycle.bandsSeq;
    const int count = std::min(cycle.bandCount, dsp::kBandCount);
    SetFromRegistry(FreqLow, count >= 2 ? cycle.bands[0].hiHz : GetParam(FreqLow).Spec().min, true);
    SetFromRegistry(FreqHigh, count >= 3 ? cycle.bands[1].hiHz : GetParam(FreqHigh).Spec().max,
                    true);
    for (int position = 0; position < dsp::kBandCount; ++position) {
        const TDBand& band = cycle.bands[std::min(position, count - 1)];
        const auto at = static_cast<std::size_t>(position);
        SetFromRegistry(kThresholds[at], band.threshDb, true);
        SetFromRegistry(kRatios[at], band.enabled ? band.ratio : 1.0, true);
    }
    activeBandCount = count;
}

/// Sets parameter and mirror to the same, constrained value. The host hears of a real change;
/// never of a stand-in, which the next block replaces.
void TessellaDuckwork::SetFromRegistry(int index, double value, bool real) {
    iplug::IParam& param = GetParam(index);
    const double before = param.Value();
    param.Set(value);
    mirror[std::size_t(index)] = param.Value();

    const std::uint32_t bit = 1U << index;
    const bool hostIsBehind = param.Value() != before || (standIns & bit) != 0;
    if (hostIsBehind && real)
        InformHostWithinBlock(index);
    if (hostIsBehind && !real)
        standIns |= bit;
    else
        standIns &= ~bit;
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
    WriteAudioCycle(kSilence.data(), static_cast<int>(kSilence.size()), true);
    HandMetersToEditor();
}

TessellaDuckwork::WorkingValues TessellaDuckwork::Targets() const {
    return {.thresholdDb = {Mirror(ThreshLow), Mirror(ThreshMid), Mirror(ThreshHigh)},
            .ratio = {Mirror(RatioLow), Mirror(RatioMid), Mirror(RatioHigh)},
            .lowSplitHz = Mirror(FreqLow),
            .highSplitHz = Mirror(FreqHigh),
            .hpHz = Mirror(HP),
            .lpHz = Mirror(LP),
            .makeupDb = Mirror(Makeup)};
}

void TessellaDuckwork::SnapWorkingValues() {
    working = Targets();
    makeupGain = static_cast<float>(dsp::fromDb(working.makeupDb));
    glideFrames = 0;
}

void TessellaDuckwork::GlideWorkingValues(int nFrames) {
    if (nFrames != glideFrames)
        glidePart = dsp::glideCoef(nFrames, hostSampleRate);
    glideFrames = nFrames;
    const auto glide = [part = glidePart](double& value, double target) {
        value += (target - value) * part;
    };
    const WorkingValues target = Targets();
    const double makeupBefore = working.makeupDb;
    for (std::size_t band = 0; band < dsp::kBandCount; ++band) {
        glide(working.thresholdDb[band], target.thresholdDb[band]);
        glide(working.ratio[band], target.ratio[band]);
    }
    glide(working.lowSplitHz, target.lowSplitHz);
    glide(working.highSplitHz, target.highSplitHz);
    glide(working.hpHz, target.hpHz);
    glide(working.lpHz, target.lpHz);
    glide(working.makeupDb, target.makeupDb);
    if (working.makeupDb != makeupBefore)
        makeupGain = static_cast<float>(dsp::fromDb(working.makeupDb));
}

dsp::FrameSettings TessellaDuckwork::Settings(bool peerValid) const {
    BandValues ratio = {1.0, 1.0, 1.0};
    for (std::size_t band = 0; band < dsp::kBandCount; ++band)
        if (duckSelf && bandEnabled[band])
            ratio[band] = working.ratio[band];
    return {.peerMagnitude = peerBins.data(),
            .peerValid = peerValid,
            .thresholdDb = working.thresholdDb,
            .ratio = ratio,
            .lowSplitHz = working.lowSplitHz,
            .highSplitHz = working.highSplitHz,
            .outputGain = makeupGain,
            .hpHz = static_cast<float>(working.hpHz),
            .lpHz = static_cast<float>(working.lpHz)};
}

/// The own and the peer's level per band, by the parameters' splits, not the gliding ones; only
/// where a frame, a spectrum or a split is new: there are a thousand bins, and blocks of one
/// sample.
void TessellaDuckwork::MeasureLevels(const BlockInput& input, bool newFrame) {
    grMeter = {processor.grLowDb, processor.grMidDb, processor.grHighDb};
    std::copy(grMeter.begin(), grMeter.end(), grSnapshot.begin());

    const std::array splits = {Mirror(FreqLow), Mirror(FreqHigh)};
    const bool all = std::exchange(levelsDue, false) || splits != levelSplits;
    levelSplits = splits;
    const auto measure = [&](const auto& bins, float scale) {
        const auto binHz = static_cast<float>(hostSampleRate / processor.fftSize);
        return dsp::bandLevels(bins.data(), PublishedBins(), binHz, splits[0], splits[1], scale);
    };
    if (all || newFrame)
        ownLevel = measure(processor.magnitude, dsp::kOwnLevelScale);
    if (!input.PeerValid())
        peerLevel = {};
    else if (all || input.cycle.audioNew || peerLevelDue)
        peerLevel = measure(peerBins, dsp::peerLevelScale(processor.fftSize));
    peerLevelDue = !input.PeerValid();
}

/// Levels and gain reduction with every block, the spectrum with every third, unless it is there.
void TessellaDuckwork::Publish(bool newFrame) {
    spectrumDue |= newFrame;
    binPublishCounter = (binPublishCounter + 1) % 3;
    const bool writeBins = binPublishCounter == 0 && spectrumDue;
    if (WriteAudioCycle(processor.magnitude.data(), PublishedBins(), writeBins) && writeBins)
        spectrumDue = false;
}

int TessellaDuckwork::PublishedBins() const {
    return std::min<int>(processor.numBins, dsp::kExchangedBins);
}

/// True when the registry has it all.
bool TessellaDuckwork::WriteAudioCycle(const float* bins, int count, bool writeBins) {
    bool done = false;
    WithRegistry([&] {
        done = shm.WriteAudioCycle(ownLevel.data(), grMeter.data(), bins, count, writeBins);
    });
    return done;
}
