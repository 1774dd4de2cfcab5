// The registry as the editor follows it, the choice of the peer, and the own name.
#include "ui/EditorSession.h"

#include <cstring>

namespace ui {
namespace {

constexpr int kFramesBetweenCleanups = 60;
/// A busy registry hides the peer's spectrum for a frame or two; only a longer absence is shown.
constexpr int kMostMisses = 15;

bool sameName(const TDInstanceInfo& entry, const std::array<char, shm::kNameBytes>& name) {
    return std::strncmp(entry.name, name.data(), name.size()) == 0;
}

} // namespace

void EditorSession::pollAndSyncSHM() {
    followSpectra();
    if (!shown.nameEdit.editing())
        shown.instanceName = plugin.InstanceName();
    TessellaDuckworkSHM& registry = plugin.Registry();
    if (!registry.Opened())
        return;
    static constexpr std::array<float, 3> kNoState{};
    registry.WriteState(kNoState.data());
    registry.WriteBins(shown.localLevels.data(), dsp::kDisplayBands);
    registry.SyncRemoteId();
    takeOwnBands();
    readPeerSettings();
    plugin.SyncOwnSettings();
    refreshInstances();
    linkRememberedPeer();
    if (peerLinked()) {
        rememberPeer();
        plugin.ApplyShadowPeerToSHM();
    }
    if (++framesToCleanup >= kFramesBetweenCleanups) {
        framesToCleanup = 0;
        registry.CleanDead();
    }
}

void EditorSession::followSpectra() {
    std::array<float, shm::kAudioBinCount> bins;
    const auto [sampleRate, fftSize] = plugin.Scale();
    const auto count = static_cast<std::size_t>(plugin.ReadSpectrum(bins));
    localScale.retune(sampleRate, fftSize, static_cast<int>(count));
    localScale.follow(std::span(bins).first(count), shown.localLevels);

    const TessellaDuckworkSHM& registry = plugin.Registry();
    remoteScale.retune(sampleRate, fftSize, shm::kAudioBinCount);
    if (registry.ReadRemoteAudioBins(bins.data(), shm::kAudioBinCount)) {
        remoteMisses = 0;
        remoteScale.follow(bins, shown.remoteLevels);
    } else if (registry.RemoteId() == 0 || ++remoteMisses > kMostMisses) {
        remoteScale.follow({}, shown.remoteLevels);
    }
}

/// Edits that the peer's editor has made of this instance's bands.
void EditorSession::takeOwnBands() {
    BandRecords records;
    int count = 0;
    const std::uint64_t seq =
        plugin.Registry().ReadOwnBands(records.data(), count, shm::kBandCount);
    if (seq == 0 || seq == ownBandsSeq)
        return;
    ownBandsSeq = seq;
    const BandList bands = fromRecords(records, count);
    if (bands.count < 1)
        return;
    shown.localBands = bands;
    syncBandsToDSP();
}

void EditorSession::readPeerSettings() {
    const TessellaDuckworkSHM& registry = plugin.Registry();
    BandRecords records;
    int count = 0;
    registry.ReadRemoteBands(records.data(), count, shm::kBandCount);
    shown.remoteBands = fromRecords(records, count);
    ThreeFloats reduction;
    if (registry.ReadRemoteGR(reduction.data()))
        shown.remoteReductionDb = reduction;
    FilterPair filters;
    registry.ReadRemoteHpLp(filters.hpHz, filters.lpHz);
    shown.remoteFilters = usableFilters(filters);
}

/// The list of instances and the selected one. A busy registry leaves both as they are.
void EditorSession::refreshInstances() {
    if (plugin.Registry().GetActiveInstances(listing))
        shown.instances.swap(listing);
    shown.selectedPeer = plugin.Registry().RemoteId();
}

/// Without a living peer: pairs with the remembered one, if it is there and has no other partner.
/// Taking it from a third track is for the user's hand only: two editors that did so by themselves
/// would take the peer from each other for ever.
void EditorSession::linkRememberedPeer() {
    const auto name = plugin.PersistedPeerName();
    if (peerLinked() || name[0] == '\0')
        return;
    for (const TDInstanceInfo& entry : shown.instances)
        if (sameName(entry, name) && plugin.Registry().IsFree(entry.id)) {
            plugin.Registry().SetRemoteId(entry.id);
            shown.selectedPeer = entry.id;
            return;
        }
}

/// Under the name that it has now: also when the other side has made the link, or the peer has been
/// renamed since.
void EditorSession::rememberPeer() {
    const auto remembered = plugin.PersistedPeerName();
    for (const TDInstanceInfo& entry : shown.instances)
        if (entry.id == shown.selectedPeer && !sameName(entry, remembered))
            plugin.SetPersistedPeerName(entry.name);
}

void EditorSession::choosePeer(int entry) {
    const TDInstanceInfo peer = shown.instances[std::size_t(entry)];
    shown.dropdownOpen = false;
    if (peer.id != plugin.Registry().RemoteId())
        plugin.ClearShadowPeer();
    plugin.Registry().SetRemoteId(peer.id);
    plugin.SetPersistedPeerName(peer.name);
    shown.selectedPeer = peer.id;
}

void EditorSession::beginName() {
    if (shown.nameEdit.editing())
        return;
    shown.nameEdit.begin(shown.instanceName.data());
    window.grabKeyboard();
}

void EditorSession::text(const char* utf8) {
    if (shown.nameEdit.editing())
        shown.nameEdit.append(utf8);
}

void EditorSession::eraseCharacter() {
    if (shown.nameEdit.editing())
        shown.nameEdit.backspace();
}

/// An emptied name is no name: the old one stays.
void EditorSession::commitName() {
    if (!shown.nameEdit.editing())
        return;
    if (shown.nameEdit.text()[0] != '\0')
        plugin.SetInstanceName(shown.nameEdit.text());
    shown.instanceName = plugin.InstanceName();
    cancelName();
}

void EditorSession::cancelName() {
    shown.nameEdit.end();
    window.releaseKeyboard();
}

} // namespace ui
