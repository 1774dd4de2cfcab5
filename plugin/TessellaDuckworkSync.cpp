#include "plugin/TessellaDuckwork.h"

#include <algorithm>

void TessellaDuckwork::OnParamChange(int index) {
    if (index < 0 || index >= kNumParams)
        return;
    mirror[std::size_t(index)] = GetParam(index).Value();
    if (index == Attack || index == Release)
        UpdateEnvelope();
    // Bands and filters are published by the editor and by a state load, not from here.
    if (index == Attack || index == Release || index == Makeup)
        PublishControls();
}

void TessellaDuckwork::UpdateEnvelope() { processor.setTimes(Mirror(Attack), Mirror(Release)); }

/// Writes the controls into the own slot. When the registry is closed or busy, or on the audio
/// thread is not to be had at once, the write is left to a later block: until then the registry's
/// old values must not come back over the new ones. What has been waited for in vain is not waited
/// for again.
void TessellaDuckwork::PublishControls() {
    const bool waitedBefore = controlsUnpublished;
    controlsUnpublished = true;
    if (!shm.Opened())
        return;
    if (OnAudioThread()) {
        TryPublishControls();
        return;
    }
    const AudioGate::Closed closed(applyGate);
    if (waitedBefore) {
        TryPublishControls();
        return;
    }
    const auto seq =
        shm.WriteControls(static_cast<float>(Mirror(Attack)), static_cast<float>(Mirror(Release)),
                          static_cast<float>(Mirror(Makeup)));
    if (seq == 0)
        return;
    lastControlsSeq = seenControlsSeq = seq;
    controlsUnpublished = false;
}

/// One try to publish what is left to publish.
void TessellaDuckwork::TryPublishControls() {
    if (!controlsUnpublished || !shm.Opened())
        return;
    WithRegistry([this] {
        const auto seq = shm.TryWriteControls(static_cast<float>(Mirror(Attack)),
                                              static_cast<float>(Mirror(Release)),
                                              static_cast<float>(Mirror(Makeup)));
        if (!seq)
            return;
        RecordOwnWrite(lastControlsSeq, seenControlsSeq, *seq);
        controlsUnpublished = false;
    });
}

/// One try to publish what else is left to publish, as it is now. applyGate is closed or passed.
void TessellaDuckwork::TryPublishLeftOver() {
    if (unpublished.load(std::memory_order_relaxed) == 0 || !shm.Opened())
        return;
    const std::unique_lock lock(persistedMutex, std::try_to_lock);
    if (!lock)
        return;
    WithRegistry([this] {
        if (IsUnpublished(Name))
            NotePublished(Name, shm.TrySetDisplayName(instanceName.data()));
        if (IsUnpublished(BandSet)) {
            const int count = activeBandCount;
            const auto seq = shm.TryWriteBands(BandsToPublish(count).data(), count).value_or(0);
            RecordOwnWrite(lastBandsSeq, seenBandsSeq, seq);
            NotePublished(BandSet, seq != 0);
        }
        if (IsUnpublished(Filters)) {
            const auto seq =
                shm.TryWriteHpLp(static_cast<float>(Mirror(HP)), static_cast<float>(Mirror(LP)))
                    .value_or(0);
            RecordOwnWrite(lastHpLpSeq, seenHpLpSeq, seq);
            NotePublished(Filters, seq != 0);
        }
        if (IsUnpublished(Priority))
            NotePublished(Priority, shm.TryPublishDuckSelf(duckSelf));
        if (IsUnpublished(Latency))
            NotePublished(Latency, shm.TrySetMyLatency(processor.fftSize));
    });
}

/// What the peer's side has set while no block was running is taken before the parameters are
/// announced: announcing publishes the controls, which would undo it.
void TessellaDuckwork::OnActivate(bool becomesActive) {
    if (!becomesActive || !shm.Opened())
        return;
    const AudioGate::Closed closed(applyGate);
    WithRegistry([this] {
        if (FlushControls())
            InformHostOfValues(1U << Attack | 1U << Release | 1U << Makeup);
    });
}

void TessellaDuckwork::FlushSHMToParams() {
    if (!shm.Opened())
        return;
    const AudioGate::Closed closed(applyGate);
    TryPublishLeftOver();
    WithRegistry([this] {
        FlushBands();
        FlushHpLp();
        FlushControls();
        FlushDuckSelf();
    });
}

/// Unlike ApplyBands, which feeds the engine, this keeps apart what the save keeps apart: a
/// disabled band's ratio, and no values for bands that are not there.
void TessellaDuckwork::FlushBands() {
    if (IsUnpublished(BandSet))
        return;
    std::array<TDBand, dsp::kBandCount> bands{};
    int count = 0;
    const std::uint64_t seq = shm.ReadOwnBands(bands.data(), count, dsp::kBandCount);
    if (seq == 0 || seq == seenBandsSeq || count < 1)
        return;
    seenBandsSeq = seq;
    activeBandCount = count;
    GetParam(FreqLow).Set(count >= 2 ? bands[0].hiHz : 20.0);
    GetParam(FreqHigh).Set(count >= 3 ? bands[1].hiHz : 20000.0);

    const std::scoped_lock lock(persistedMutex);
    persistedBandFreqs.fill(0.0F);
    persistedBandEnabled.fill(true);
    for (std::size_t band = 0; band < std::size_t(count); ++band) {
        persistedBandFreqs[2 * band] = bands[band].loHz;
        persistedBandFreqs[2 * band + 1] = bands[band].hiHz;
        persistedBandEnabled[band] = bands[band].enabled;
        GetParam(ThreshLow + static_cast<int>(band)).Set(bands[band].threshDb);
        GetParam(RatioLow + static_cast<int>(band)).Set(bands[band].ratio);
    }
    std::copy(persistedBandEnabled.begin(), persistedBandEnabled.end(), bandEnabled.begin());
}

/// True when the filters have changed.
bool TessellaDuckwork::FlushHpLp() {
    if (IsUnpublished(Filters))
        return false;
    float hpHz = 0.0F;
    float lpHz = 0.0F;
    const std::uint64_t seq = shm.ReadOwnHpLp(hpHz, lpHz);
    if (seq == 0 || seq == seenHpLpSeq)
        return false;
    seenHpLpSeq = seq;
    GetParam(HP).Set(hpHz);
    GetParam(LP).Set(lpHz);
    return true;
}

/// Blocks take the flag too, but none of a stopped or bypassed instance.
void TessellaDuckwork::FlushDuckSelf() {
    if (!IsUnpublished(Priority))
        duckSelf = shm.ReadMyDuckSelf().value_or(duckSelf);
}

/// True when the controls have changed. What this instance has still to publish comes first.
bool TessellaDuckwork::FlushControls() {
    if (controlsUnpublished)
        PublishControls();
    if (controlsUnpublished)
        return false;
    float attackMs = 0.0F;
    float releaseMs = 0.0F;
    float makeupDb = 0.0F;
    const std::uint64_t seq = shm.ReadOwnControls(attackMs, releaseMs, makeupDb);
    if (seq == 0 || seq == seenControlsSeq)
        return false;
    seenControlsSeq = seq;
    lastControlsSeq = seq;
    GetParam(Attack).Set(attackMs);
    GetParam(Release).Set(releaseMs);
    GetParam(Makeup).Set(makeupDb);
    for (const int index : {Attack, Release, Makeup})
        mirror[std::size_t(index)] = GetParam(index).Value();
    UpdateEnvelope();
    return true;
}
