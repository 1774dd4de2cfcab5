#include "ui/DrawState.h"

#include "plugin/Parameters.h"

namespace ui {
namespace {

void takeParameters(DrawState& state, const EditorAccess& instance) {
    const auto value = [&](int param) { return static_cast<float>(instance.ParamValue(param)); };
    state.lowSplitHz = value(FreqLow);
    state.highSplitHz = value(FreqHigh);
    state.thresholdDb = {value(ThreshLow), value(ThreshMid), value(ThreshHigh)};
    state.ratio = {value(RatioLow), value(RatioMid), value(RatioHigh)};
    state.controls = {value(Attack), value(Release), value(Makeup)};
    state.filters = {value(HP), value(LP)};
}

} // namespace

void fillDrawState(DrawState& state, const EditorAccess* instance, const EditorView& view,
                   const Meters& meters) {
    state = {};
    state.controls = view.own.controls;
    state.filters = view.own.filters;
    if (instance != nullptr)
        takeParameters(state, *instance);
    state.peerControls = view.peer.controls;
    state.meters = meters;
    state.registryOpen = view.registryOpen;
    state.ownBypass = view.ownBypass;
    state.peerBypass = view.peerBypass;
    state.ownDuck = view.ownDuck;
    state.peerDuck = view.peerDuck;
    state.paired = view.peerId != 0;
}

} // namespace ui
