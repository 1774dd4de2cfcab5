#include "ui/EditedTrack.h"

#include "plugin/Parameters.h"
#include "ui/ControlMap.h"
#include "ui/SpectralBands.h"

namespace ui {

void applyParam(EditorAccess* instance, int index, float value) {
    if (instance != nullptr && index >= 0 && index < kNumParams)
        instance->SetParam(index, value);
}

/// The own ones are parameters, which the host may have moved since the frame began.
shm::Filters EditedTrack::filters() const {
    return side == Side::Local ? shm::Filters{paramValue(instance, HP), paramValue(instance, LP)}
                               : shown.filters;
}

Held EditedTrack::hold(const Hit& hit) const {
    if (hit.part == Part::Body) {
        const SpectralBand& band = shown.bands[hit.index];
        return {.hit = hit, .value = band.loHz, .hiHz = band.hiHz};
    }
    return {.hit = hit, .value = valueOf(hit)};
}

/// Deliberate: this side's is the parameter's, also where the wheel or the host has moved that away
/// from the band. But an edge goes on from where it is: its parameter ends earlier than the axis.
float EditedTrack::valueOf(const Hit& hit) const {
    if (side == Side::Local && hit.part != Part::Edge)
        return paramValue(instance, ctrlToParam(hit).param);
    switch (hit.part) {
    case Part::Knob:
        return shown.controls[hit.index];
    case Part::Filter:
        return shown.filters[hit.index];
    case Part::Edge:
        return shown.bands[hit.index].hiHz;
    case Part::Threshold:
        return shown.bands[hit.index].threshDb;
    default:
        return shown.bands[hit.index].ratio;
    }
}

void EditedTrack::split(float hz) {
    if (splitBand(shown.bands, hz))
        sortAndPush();
}

bool EditedTrack::merge(int edge) {
    const bool merged = mergeBands(shown.bands, edge);
    if (merged)
        sortAndPush();
    return merged;
}

bool EditedTrack::toggle(int band) {
    const bool toggled = toggleBand(shown.bands, band);
    if (toggled)
        pushBands();
    return toggled;
}

void EditedTrack::move(const Held& held, float hz) {
    const int index = held.hit.index;
    if (held.hit.part == Part::Filter)
        moveFilter(index, hz);
    else if (held.hit.part == Part::Edge ? moveEdge(shown.bands, index, hz)
                                         : moveBand(shown.bands, index, held.value, held.hiHz, hz))
        pushBands();
}

/// With the outer band edge that is the same thing.
void EditedTrack::moveFilter(int index, float hz) {
    shm::Filters moved = filters();
    moved[index] = hz;
    shown.filters = Usable(moved);
    (index == 0 ? moveHighPass : moveLowPass)(shown.bands, shown.filters);
    shm::SettingsEdit edit;
    edit.filters[std::size_t(index)] = shown.filters[index];
    pushBands(edit);
}

void EditedTrack::set(const Hit& hit, float value) {
    if (hit.part == Part::Knob) {
        setKnob(hit, value);
    } else if (shown.bands.Has(hit.index)) {
        SpectralBand& band = shown.bands[hit.index];
        (hit.part == Part::Threshold ? band.threshDb : band.ratio) = value;
        pushBands();
    }
}

void EditedTrack::setKnob(const Hit& hit, float value) {
    if (side == Side::Local) {
        applyParam(&instance, ctrlToParam(hit).param, value);
        return;
    }
    if (shown.bands.count == 0)
        return; // no peer, whose knob would seem to turn
    shown.controls[hit.index] = value;
    shm::SettingsEdit edit;
    edit.controls[std::size_t(hit.index)] = value;
    instance.EditPeer(edit);
}

void EditedTrack::toggleBypass() {
    side == Side::Local ? instance.ToggleOwnBypass() : instance.TogglePeerBypass();
}

void EditedTrack::toggleDuck() {
    side == Side::Local ? instance.ToggleOwnDuck() : instance.TogglePeerDuck();
}

void EditedTrack::sortAndPush() {
    if (side == Side::Local)
        sortBands(shown.bands, filters());
    else
        sortRemoteBands();
    pushBands();
}

void EditedTrack::sortRemoteBands() { sortBands(shown.bands, shown.filters); }

void EditedTrack::pushBands(shm::SettingsEdit edit) {
    if (shown.bands.count < 1)
        return;
    edit.bands = shown.bands;
    if (side == Side::Local)
        syncBandsToDSP(edit);
    else
        pushRemoteBandsToSHM(edit);
}

/// To parameters, engine, registry and saved state.
void EditedTrack::syncBandsToDSP(const shm::SettingsEdit& edit) { instance.EditOwn(edit); }

void EditedTrack::pushRemoteBandsToSHM(const shm::SettingsEdit& edit) { instance.EditPeer(edit); }

} // namespace ui
