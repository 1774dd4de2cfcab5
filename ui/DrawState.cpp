#include "ui/DrawState.h"

#include "plugin/TessellaDuckwork.h"

#include <cmath>

namespace ui {
namespace {

ThreeFloats valuesOf(const TessellaDuckwork& plugin, int firstParam) {
    return {paramValue(plugin, firstParam), paramValue(plugin, firstParam + 1),
            paramValue(plugin, firstParam + 2)};
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

float paramValue(const TessellaDuckwork& plugin, int param) {
    return static_cast<float>(plugin.GetParam(param).Value());
}

void fillDrawState(DrawState& state, TessellaDuckwork* plugin, const ThreeFloats& ownLevelDb,
                   const ThreeFloats& peerLevelDb, const ThreeFloats& reductionDb) {
    state = {};
    state.ownLevelDb = ownLevelDb;
    state.peerLevelDb = peerLevelDb;
    state.reductionDb = reductionDb;
    if (plugin == nullptr)
        return;
    TessellaDuckworkSHM& registry = plugin->Registry();
    state.lowSplitHz = paramValue(*plugin, FreqLow);
    state.highSplitHz = paramValue(*plugin, FreqHigh);
    state.thresholdDb = valuesOf(*plugin, ThreshLow);
    state.ratio = valuesOf(*plugin, RatioLow);
    state.controls = {paramValue(*plugin, Attack), paramValue(*plugin, Release),
                      paramValue(*plugin, Makeup)};
    readPeerControls(registry, state.peerControls);
    state.filters = {paramValue(*plugin, HP), paramValue(*plugin, LP)};
    const std::uint64_t peer = registry.RemoteId();
    state.registryOpen = registry.Opened();
    state.ownBypass = registry.ReadMyBypass();
    state.peerBypass = registry.ReadBypassOf(peer);
    state.ownDuck = plugin->DuckSelf();
    state.peerDuck = registry.ReadDuckSelfOf(peer);
    state.paired = peer != 0;
}

} // namespace ui
