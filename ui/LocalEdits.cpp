// Edits of this instance.
#include "ui/EditorSession.h"

namespace ui {
void applyParam(TessellaDuckwork* plugin, int index, float value) {
    if (plugin == nullptr || index < 0 || index >= plugin->NParams())
        return;
    iplug::IParam& param = plugin->GetParam(index);
    param.Set(value);
    plugin->OnParamChange(index);
    plugin->InformHostOfParamChange(index, param.ToNormalized(param.Value()));
}

FilterPair EditorSession::localFilters() const {
    return {paramValue(plugin, HP), paramValue(plugin, LP)};
}

void EditorSession::initBands() {
    const auto saved = plugin.Bands();
    shown.localBands = bandsFromState(saved.count, saved.edgesHz,
                                      {paramValue(plugin, FreqLow), paramValue(plugin, FreqHigh)});
    for (int i = 0; i < shown.localBands.count; ++i) {
        const auto at = static_cast<std::size_t>(i);
        shown.localBands[i].enabled = saved.enabled[at];
        shown.localBands[i].threshold = paramValue(plugin, kThresholds[at]);
        shown.localBands[i].ratio = paramValue(plugin, kRatios[at]);
    }
    shown.instanceName = plugin.InstanceName();
    refreshInstances();
    linkRememberedPeer();
    syncBandsToDSP();
}

/// Sends the bands to the parameters, the engine, the registry and the state to be saved.
void EditorSession::syncBandsToDSP() {
    const BandList& bands = shown.localBands;
    if (bands.count < 1)
        return;
    const auto write = plugin.BeginOwnWrite();
    const Crossovers splits = crossoversOf(bands);
    applyParam(&plugin, FreqLow, splits.lowHz);
    applyParam(&plugin, FreqHigh, splits.highHz);
    for (int i = 0; i < shm::kBandCount; ++i) {
        const auto at = static_cast<std::size_t>(i);
        const SpectralBand& band = bandOrLast(bands, i);
        applyParam(&plugin, kThresholds[at], band.threshold);
        applyParam(&plugin, kRatios[at], band.ratio);
        plugin.SetBandEnabled(i, band.enabled);
    }
    const std::uint64_t seq = plugin.PublishBands(toRecords(bands), bands.count);
    if (seq != 0)
        ownBandsSeq = seq;
}

void EditorSession::sortLocalBands() { sortBands(shown.localBands, localFilters()); }

/// The high-pass or low-pass, with the outer band edge that is the same thing.
void EditorSession::setFilter(Target target, float hz) {
    const auto write = plugin.BeginOwnWrite();
    applyParam(&plugin, ctrlToParam(target).param, hz);
    if (target == Target::LocalHighPass)
        moveHighPass(shown.localBands, localFilters());
    else
        moveLowPass(shown.localBands, localFilters());
    syncBandsToDSP();
    plugin.PublishHpLp();
}

} // namespace ui
