// What passes between the editor and the registry in a frame, the choice of the peer, and the own
// name.
#include "ui/EditorSession.h"

namespace ui {
namespace {

/// A busy registry hides the peer's spectrum for a frame or two; only a longer absence is shown.
constexpr int kMaxMisses = 15;

} // namespace

void EditorSession::initBands() {
    instance.BeginEditing();
    pollAndSyncSHM();
}

void EditorSession::pollAndSyncSHM() {
    followOwnSpectrum();
    const shm::BandSet bands = shown.view.own.bands;
    PeerSpectrum spectrum;
    instance.FollowRegistry(shown.localLevels, shown.view, spectrum);
    followPeerSpectrum(spectrum);
    // Only what others have set replaces what is being edited here.
    if (shown.view.ownBandsSeq == ownBandsSeq || shown.view.own.bands.count < 1)
        shown.view.own.bands = bands;
    ownBandsSeq = shown.view.ownBandsSeq;
}

void EditorSession::followOwnSpectrum() {
    std::array<float, shm::kAudioBinCount> magnitudes;
    const auto [sampleRate, fftSize] = instance.Scale();
    const int count = instance.ReadSpectrum(magnitudes);
    localScale.retune(sampleRate, fftSize, count);
    localScale.follow(std::span(magnitudes).first(static_cast<std::size_t>(count)),
                      shown.localLevels);
}

void EditorSession::followPeerSpectrum(const PeerSpectrum& spectrum) {
    const auto [sampleRate, fftSize] = instance.Scale();
    remoteScale.retune(sampleRate, fftSize, shm::kAudioBinCount);
    if (spectrum.read) {
        remoteMisses = 0;
        remoteScale.follow(spectrum.magnitudes, shown.remoteLevels);
    } else if (shown.view.peerId == 0 || ++remoteMisses > kMaxMisses) {
        remoteScale.follow({}, shown.remoteLevels);
    }
}

void EditorSession::choosePeer(int entry) {
    const TDInstanceInfo& chosen = shown.view.instances[std::size_t(entry)];
    shown.dropdownOpen = false;
    shown.view.peerId = chosen.id;
    instance.PairWith(chosen);
}

void EditorSession::beginName() {
    if (shown.nameEdit.editing())
        return;
    shown.nameEdit.begin(shown.view.name.data());
    window.grabKeyboard();
}

void EditorSession::text(const char* utf8) {
    if (!shown.nameEdit.append(utf8))
        refusedAt = now;
}

void EditorSession::eraseCharacter() {
    if (shown.nameEdit.editing())
        shown.nameEdit.backspace();
}

/// An emptied name is no name: the old one stays.
void EditorSession::commitName() {
    if (!shown.nameEdit.editing())
        return;
    if (shown.nameEdit.text()[0] != '\0') {
        shown.view.name = shown.nameEdit.name();
        instance.SetInstanceName(shown.nameEdit.text());
    }
    cancelName();
}

void EditorSession::cancelName() {
    shown.nameEdit.end();
    window.releaseKeyboard();
}

} // namespace ui
