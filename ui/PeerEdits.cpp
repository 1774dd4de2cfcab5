// Edits of the peer: written into its slot, and remembered here for a reopened project.
#include "ui/EditorSession.h"

namespace ui {

/// The peer's three settings groups as it holds them; those that cannot be read have no value.
///
/// Every edit is remembered with all of them: a group left at its defaults would, applied after a
/// reload, reset what nobody had touched.
TessellaDuckwork::PeerEdit EditorSession::readPeer() const {
    const TessellaDuckworkSHM& registry = plugin.Registry();
    TessellaDuckwork::PeerEdit peer;
    TessellaDuckwork::PeerEdit::Bands bands{};
    if (registry.ReadRemoteBands(bands.bands.data(), bands.count, shm::kBandCount) != 0 &&
        bands.count > 0)
        peer.bands = bands;
    TessellaDuckwork::PeerEdit::HpLp filters{};
    if (registry.ReadRemoteHpLp(filters.hpHz, filters.lpHz) != 0)
        peer.hpLp = filters;
    TessellaDuckwork::PeerEdit::Controls controls{};
    if (registry.ReadRemoteControls(controls.attackMs, controls.releaseMs, controls.makeupDb) != 0)
        peer.controls = controls;
    return peer;
}

void EditorSession::sortRemoteBands() { sortBands(shown.remoteBands, shown.remoteFilters); }

void EditorSession::pushRemoteBandsToSHM() {
    const BandList& bands = shown.remoteBands;
    if (!plugin.Registry().Opened() || bands.count < 1)
        return;
    auto edit = readPeer();
    edit.bands = {.bands = toRecords(bands), .count = bands.count};
    edit.written = plugin.Registry().WriteRemoteBands(edit.bands->bands.data(), bands.count) != 0;
    plugin.RecordShadowPeer(edit);
}

void EditorSession::setPeerFilter(Target target, float hz) {
    FilterPair& filters = shown.remoteFilters;
    const bool highPass = target == Target::RemoteHighPass;
    (highPass ? filters.hpHz : filters.lpHz) = hz;
    filters = usableFilters(filters);
    (highPass ? moveHighPass : moveLowPass)(shown.remoteBands, filters);
    auto edit = readPeer();
    edit.hpLp = {.hpHz = filters.hpHz, .lpHz = filters.lpHz};
    edit.written = plugin.Registry().WriteRemoteHpLp(filters.hpHz, filters.lpHz) != 0;
    plugin.RecordShadowPeer(edit);
    pushRemoteBandsToSHM();
}

float EditorSession::peerControl(Target target) const {
    ControlValues values;
    plugin.Registry().ReadRemoteControls(values.attackMs, values.releaseMs, values.makeupDb);
    const std::array<float, 3> inOrder = {values.attackMs, values.releaseMs, values.makeupDb};
    return inOrder[std::size_t(peerControlOf(target))];
}

void EditorSession::setPeerControl(Target target, float value) {
    auto edit = readPeer();
    if (!edit.controls)
        return; // no peer, or not to be read: its other two controls must not become defaults
    auto& [attackMs, releaseMs, makeupDb] = *edit.controls;
    const std::array<float*, 3> inOrder = {&attackMs, &releaseMs, &makeupDb};
    *inOrder[std::size_t(peerControlOf(target))] = value;
    edit.written = plugin.Registry().WriteRemoteControls(attackMs, releaseMs, makeupDb) != 0;
    plugin.RecordShadowPeer(edit);
}

} // namespace ui
