// What the editor sees of the instance and changes.
#include "plugin/TessellaDuckwork.h"
#include "shm/Obstacle.h"
#include "shm/Visit.h"

#include <cmath>
#include <cstring>

namespace {

constexpr int kFramesBetweenCleanups = 60;

} // namespace

void TessellaDuckwork::SetParam(int index, double value) {
    own.SetParam(index, value);
    InformHostOfParamChange(index, GetParam(index).ToNormalized(own.Value(index)));
}

void TessellaDuckwork::BeginEditing() {
    FlushSHMToParams(); // again: the host's thread does not wait for a busy registry
    own.Edit({.bands = own.PublishableBands()});
}

bool TessellaDuckwork::FollowRegistry(std::span<const float, shm::kDisplayBinCount> displayDb,
                                      EditorView& view, PeerSpectrum& peerSpectrum) {
    static constexpr std::array<float, 3> kNoState{};
    peerSpectrum.read = false;
    bool followed = false;
    {
        const AudioGate::Closed closed = own.CloseGate();
        shm::PatientVisit visit(shm);
        followed = static_cast<bool>(visit);
        if (followed) {
            visit.WriteState(kNoState.data());
            visit.WriteBins(displayDb);
            own.Sync(visit);
            own.PublishHostsFilters(visit);
            peer.Follow(visit);
            if (++framesToCleanup >= kFramesBetweenCleanups) {
                framesToCleanup = 0;
                visit.CleanDead();
            }
            view.peer = peer.Read(visit);
            visit.ReadRemoteGR(view.peerReductionDb.data());
            for (float& db : view.peerReductionDb)
                db = std::isfinite(db) ? db : 0.0F;
            peerSpectrum.read = visit.ReadRemoteAudioBins(peerSpectrum.magnitudes);
            visit.GetActiveInstances(view.instances);
            view.ownBypass = visit.ReadMyBypass();
            view.peerBypass = visit.ReadBypassOf(shm.RemoteId());
            view.peerDuck = visit.ReadDuckSelfOf(shm.RemoteId());
        }
    }
    view.registryOpen = shm.Opened();
    FollowObstacle(view);
    view.peerId = shm.RemoteId();
    view.name = own.InstanceName();
    view.own = own.Now();
    view.own.bands = own.PublishableBands().Usable();
    view.ownBandsSeq = own.ForeignBandChanges();
    view.ownDuck = own.DuckSelf();
    own.TellHost();
    TellHostWhatChanged();
    return followed;
}

/// Looked up once a second: it takes system calls.
void TessellaDuckwork::FollowObstacle(EditorView& view) {
    if (view.registryOpen) {
        view.obstacle = nullptr;
        return;
    }
    if (view.obstacle != nullptr && ++framesToCleanup < kFramesBetweenCleanups)
        return;
    framesToCleanup = 0;
    const shm::Obstacle found = shm::FindObstacle();
    view.obstacle = found == shm::Obstacle::None ? nullptr : Explain(found);
}

void TessellaDuckwork::EditPeer(const shm::SettingsEdit& edit) {
    {
        shm::PatientVisit visit(shm);
        peer.Edit(visit, edit);
    }
    TellHostWhatChanged();
}

void TessellaDuckwork::PairWith(const TDInstanceInfo& chosen) {
    {
        shm::PatientVisit visit(shm);
        peer.PairWith(visit, chosen);
    }
    TellHostWhatChanged();
}

void TessellaDuckwork::SetInstanceName(const char* name) {
    if (name == nullptr)
        return;
    shm::Name cut{};
    std::memcpy(cut.data(), name, strnlen(name, cut.size() - 1));
    own.SetName(cut);
    TellHostWhatChanged();
}

void TessellaDuckwork::ToggleOwnBypass() {
    shm::PatientVisit visit(shm);
    visit.SetMyBypass(!visit.ReadMyBypass());
}

void TessellaDuckwork::ToggleOwnDuck() {
    own.SetDuckSelf(!own.DuckSelf());
    TellHostWhatChanged();
}

void TessellaDuckwork::TogglePeerBypass() {
    shm::PatientVisit visit(shm);
    visit.SetBypassOf(shm.RemoteId(), !visit.ReadBypassOf(shm.RemoteId()));
}

void TessellaDuckwork::TogglePeerDuck() {
    shm::PatientVisit visit(shm);
    visit.SetDuckSelfOf(shm.RemoteId(), !visit.ReadDuckSelfOf(shm.RemoteId()));
}

void TessellaDuckwork::RememberEditorSize(int widthPx, int heightPx) {
    editorWidth = widthPx;
    editorHeight = heightPx;
}

void TessellaDuckwork::HandMetersToEditor() {
    if (editor.load(std::memory_order_relaxed) == nullptr)
        return; // the gate costs more than the look
    const AudioGate::Pass pass(editorGate);
    Editor* const open = pass ? editor.load() : nullptr;
    if (open != nullptr)
        open->SetMeters(ownLevel.data(), peerLevel.data(), grMeter.data());
}
