#include "ui/DrawState.h"

#include "plugin/TessellaDuckwork.h"

#include <cmath>

namespace ui {
namespace {

float valueOf(const TessellaDuckwork& plugin, int param) {
    return static_cast<float>(plugin.GetParam(param).Value());
}

ThreeFloats valuesOf(const TessellaDuckwork& plugin, int firstParam) {
    return {valueOf(plugin, firstParam), valueOf(plugin, firstParam + 1),
            valueOf(plugin, firstParam + 2)};
}

/// The peer's controls may be anything that another process has left there.
void readPeerControls(const TessellaDuckworkSHM& registry, ControlValues& controls) {
    ControlValues read;
    registry.ReadRemoteControls(read.attackMs, read.releaseMs, read.makeupDb);
    if (std::isfinite(read.attackMs) && std::isfinite(read.releaseMs) &&
        std::isfinite(read.makeupDb))
        controls = read;
}

} // namespace

void fillDrawState(DrawState& state, TessellaDuckwork* plugin, const ThreeFloats& ownLevelDb,
                   const ThreeFloats& peerLevelDb, const ThreeFloats& reductionDb) {
    state = {};
    state.ownLevelDb = ownLevelDb;
    state.peerLevelDb = peerLevelDb;
    state.reductionDb = reductionDb;
    if (plugin == nullptr)
        return;
    TessellaDuckworkSHM& registry = plugin->Registry();
    state.lowSplitHz = valueOf(*plugin, FreqLow);
    state.highSplitHz = valueOf(*plugin, FreqHigh);
    state.thresholdDb = valuesOf(*plugin, ThreshLow);
    state.ratio = valuesOf(*plugin, RatioLow);
    state.controls = {valueOf(*plugin, Attack), valueOf(*plugin, Release),
                      valueOf(*plugin, Makeup)};
    readPeerControls(registry, state.peerControls);
    state.filters = {valueOf(*plugin, HP), valueOf(*plugin, LP)};
    const std::uint64_t peer = registry.RemoteId();
    state.registryOpen = registry.Opened();
    state.ownBypass = registry.ReadMyBypass();
    state.peerBypass = registry.ReadBypassOf(peer);
    state.ownDuck = plugin->DuckSelf();
    state.peerDuck = registry.ReadDuckSelfOf(peer);
    state.paired = peer != 0;
}

} // namespace ui
