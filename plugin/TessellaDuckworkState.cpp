#include "plugin/TessellaDuckwork.h"

#include "shm/Patience.h"

#include <algorithm>
#include <cmath>

namespace {

/// Splits that come from no real band set are not worth more than those of the parameters.
bool usableEdges(float loHz, float hiHz) {
    constexpr float kLeastHz = 1.0F;
    constexpr float kMostHz = 100'000.0F;
    return loHz >= kLeastHz && loHz < hiHz && hiHz <= kMostHz; // false for NaN too
}

/// The value, or what stands for none when a chunk holds no number there.
float numberOr(float value, float otherwise) { return std::isfinite(value) ? value : otherwise; }

template <std::size_t n>
std::array<float, n> numbersOr(std::array<float, n> values, const std::array<float, n>& otherwise) {
    for (std::size_t i = 0; i < n; ++i)
        values[i] = numberOr(values[i], otherwise[i]);
    return values;
}

template <class To, class From>
void copyFlags(const From& from, To& to) {
    std::transform(from.begin(), from.end(), to.begin(), [](auto flag) { return flag != 0; });
}

} // namespace

bool TessellaDuckwork::SerializeState(iplug::IByteChunk& chunk) {
    {
        const shm::Patience once; // not for each part of it
        FlushSHMToParams();
    }
    state::ParamValues params;
    for (int index = 0; index < kNumParams; ++index)
        params[std::size_t(index)] = GetParam(index).Value();
    state::write(chunk, HeadForState(), params,
                 {.editorWidthPx = static_cast<std::uint32_t>(GetEditorWidth()),
                  .editorHeightPx = static_cast<std::uint32_t>(GetEditorHeight()),
                  .duckSelf = duckSelf});
    return true;
}

state::Head TessellaDuckwork::HeadForState() const {
    const std::scoped_lock lock(persistedMutex);
    state::Head head;
    head.instanceName = instanceName;
    head.activeBandCount = activeBandCount;
    head.bandFreqs = persistedBandFreqs;
    copyFlags(persistedBandEnabled, head.bandEnabled);
    head.peerName = persistedPeerName;
    head.shadowBandCount = shadowPeer.bandCount;
    head.shadowEdges = shadowPeer.bandEdgesHz;
    head.shadowThresholds = shadowPeer.thresholdDb;
    head.shadowRatios = shadowPeer.ratio;
    copyFlags(shadowPeer.enabled, head.shadowEnabled);
    head.shadowHp = shadowPeer.hpHz;
    head.shadowLp = shadowPeer.lpHz;
    head.shadowAttack = shadowPeer.attackMs;
    head.shadowRelease = shadowPeer.releaseMs;
    head.shadowMakeup = shadowPeer.makeupDb;
    return head;
}

int TessellaDuckwork::UnserializeState(const iplug::IByteChunk& chunk, int start) {
    // The state is taken whole: no block's registry edit comes in between.
    const AudioGate::Closed closed(applyGate);
    const shm::Patience once; // what cannot be published now is published later
    const state::Reading reading = state::read(chunk, start);
    TakeHead(reading);
    for (int index = 0; index < reading.paramCount; ++index)
        GetParam(index).Set(reading.params[std::size_t(index)]);
    OnParamReset(iplug::ParamSource::PresetRecall);
    if (reading.result < 0)
        return reading.result;

    Republish();
    if (reading.size)
        OnParentWindowResize(static_cast<int>(reading.size->editorWidthPx),
                             static_cast<int>(reading.size->editorHeightPx));
    if (reading.duckSelf)
        SetDuckSelf(*reading.duckSelf);
    return reading.result;
}

void TessellaDuckwork::TakeName(const std::array<char, shm::kNameBytes>& name) {
    {
        const std::scoped_lock lock(persistedMutex);
        instanceName = name;
    }
    NotePublished(Name, false);
    WithRegistry([&] { NotePublished(Name, shm.SetDisplayName(name.data())); });
}

/// Takes the fields that the chunk has; those it lacks keep their values.
void TessellaDuckwork::TakeHead(const state::Reading& reading) {
    const state::Head& head = reading.head;
    const int taken = reading.headFields;
    if (taken > state::InstanceName && head.instanceName[0] != '\0') {
        auto name = head.instanceName;
        name.back() = '\0';
        TakeName(name);
    }
    if (taken <= state::ActiveBandCount)
        activeBandCount = 1;
    else if (head.activeBandCount >= 1 && head.activeBandCount <= dsp::kBandCount)
        activeBandCount = head.activeBandCount;

    const std::scoped_lock lock(persistedMutex);
    if (taken > state::BandFreqs)
        persistedBandFreqs = head.bandFreqs;
    if (taken > state::BandEnabled)
        copyFlags(head.bandEnabled, persistedBandEnabled);
    std::copy(persistedBandEnabled.begin(), persistedBandEnabled.end(), bandEnabled.begin());
    if (taken > state::PeerName) {
        persistedPeerName = head.peerName;
        persistedPeerName.back() = '\0';
    }
    TakeShadow(reading);
}

/// The same for the peer's remembered settings. The caller holds persistedMutex.
void TessellaDuckwork::TakeShadow(const state::Reading& reading) {
    const state::Head& head = reading.head;
    const int taken = reading.headFields;
    if (taken <= state::ShadowBandCount || head.shadowBandCount > dsp::kBandCount)
        return;
    static const ShadowPeer kCleared;
    shadowPeer.bandCount = std::max(head.shadowBandCount, 0);
    shadowPeer.Touch(); // to be written to the peer once it is linked again
    if (taken > state::ShadowEdges)
        shadowPeer.bandEdgesHz = numbersOr(head.shadowEdges, kCleared.bandEdgesHz);
    if (taken > state::ShadowThresholds)
        shadowPeer.thresholdDb = numbersOr(head.shadowThresholds, kCleared.thresholdDb);
    if (taken > state::ShadowRatios)
        shadowPeer.ratio = numbersOr(head.shadowRatios, kCleared.ratio);
    if (taken > state::ShadowEnabled)
        copyFlags(head.shadowEnabled, shadowPeer.enabled);
    if (taken > state::ShadowHp)
        shadowPeer.hpHz = numberOr(head.shadowHp, kCleared.hpHz);
    if (taken > state::ShadowLp)
        shadowPeer.lpHz = numberOr(head.shadowLp, kCleared.lpHz);
    if (taken > state::ShadowAttack)
        shadowPeer.attackMs = numberOr(head.shadowAttack, kCleared.attackMs);
    if (taken > state::ShadowRelease)
        shadowPeer.releaseMs = numberOr(head.shadowRelease, kCleared.releaseMs);
    if (taken > state::ShadowMakeup)
        shadowPeer.makeupDb = numberOr(head.shadowMakeup, kCleared.makeupDb);
}

/// The bands with their remembered edges, or with the parameters' splits when those are unusable.
/// The caller holds persistedMutex.
std::array<TDBand, dsp::kBandCount> TessellaDuckwork::BandsToPublish(int count) const {
    const std::array<double, 4> splits = {20.0, count == 1 ? 20000.0 : Mirror(FreqLow),
                                          count == 2 ? 20000.0 : Mirror(FreqHigh), 20000.0};
    const auto& edges = persistedBandFreqs;
    bool usable = true;
    for (std::size_t band = 0; band < std::size_t(count); ++band)
        usable = usable && usableEdges(edges[2 * band], edges[2 * band + 1]);

    std::array<TDBand, dsp::kBandCount> bands{};
    for (std::size_t band = 0; band < std::size_t(count); ++band)
        bands[band] = {.loHz = usable ? edges[2 * band] : static_cast<float>(splits[band]),
                       .hiHz = usable ? edges[2 * band + 1] : static_cast<float>(splits[band + 1]),
                       .threshDb = static_cast<float>(Mirror(ThreshLow + static_cast<int>(band))),
                       .ratio = static_cast<float>(Mirror(RatioLow + static_cast<int>(band))),
                       .enabled = persistedBandEnabled[band]};
    return bands;
}

/// Writes all settings into the own slot, where the peer and the editors find them. What a busy
/// or closed registry does not take is left to a later block.
void TessellaDuckwork::Republish() {
    const int count = activeBandCount;
    std::array<TDBand, dsp::kBandCount> bands;
    {
        const std::scoped_lock lock(persistedMutex);
        bands = BandsToPublish(count);
    }
    NotePublished(BandSet, false);
    NotePublished(Filters, false);
    WithRegistry([&] {
        const auto bandsSeq = shm.WriteBands(bands.data(), count);
        RecordOwnWrite(lastBandsSeq, seenBandsSeq, bandsSeq);
        NotePublished(BandSet, bandsSeq != 0);
        const auto hpLpSeq =
            shm.WriteHpLp(static_cast<float>(Mirror(HP)), static_cast<float>(Mirror(LP)));
        RecordOwnWrite(lastHpLpSeq, seenHpLpSeq, hpLpSeq);
        NotePublished(Filters, hpLpSeq != 0);
    });
    PublishControls();
}
