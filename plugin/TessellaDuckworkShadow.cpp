#include "plugin/TessellaDuckwork.h"

#include <algorithm>
#include <cstring>

namespace {

/// The remembered bands; those beyond the count have no width.
std::array<TDBand, dsp::kBandCount> bandsOf(const ShadowPeer& shadow) {
    std::array<TDBand, dsp::kBandCount> bands;
    bands.fill({.loHz = 0.0F, .hiHz = 0.0F, .threshDb = 0.0F, .ratio = 0.0F, .enabled = false});
    for (std::size_t band = 0; band < std::size_t(shadow.bandCount); ++band)
        bands[band] = {.loHz = shadow.bandEdgesHz[2 * band],
                       .hiHz = shadow.bandEdgesHz[2 * band + 1],
                       .threshDb = shadow.thresholdDb[band],
                       .ratio = shadow.ratio[band],
                       .enabled = shadow.enabled[band]};
    return bands;
}

bool hasWidth(const TDBand& band) { return band.hiHz > band.loHz; }

} // namespace

void TessellaDuckwork::SetBandEnabled(int band, bool on) {
    if (band < 0 || band >= dsp::kBandCount)
        return;
    bandEnabled[std::size_t(band)] = on;
    const std::scoped_lock lock(persistedMutex);
    persistedBandEnabled[std::size_t(band)] = on;
}

void TessellaDuckwork::SetPersistedPeerName(const char* name) {
    const std::scoped_lock lock(persistedMutex);
    persistedPeerName.fill('\0');
    if (name != nullptr)
        std::memcpy(persistedPeerName.data(), name, strnlen(name, persistedPeerName.size() - 1));
}

void TessellaDuckwork::SetPersistedBandFreqs(const float* edgesHz) {
    const std::scoped_lock lock(persistedMutex);
    std::copy_n(edgesHz, persistedBandFreqs.size(), persistedBandFreqs.begin());
}

void TessellaDuckwork::RecordShadowPeerBands(const TDBand* bands, int count) {
    if (bands == nullptr || count < 1) {
        ClearShadowPeer();
        return;
    }
    PeerEdit edit;
    auto& [copies, taken] = edit.bands.emplace();
    taken = std::min(count, dsp::kBandCount);
    std::copy_n(bands, taken, copies.begin());
    RecordShadowPeer(edit);
}

void TessellaDuckwork::RecordShadowPeerHpLp(float hpHz, float lpHz) {
    PeerEdit edit;
    edit.hpLp = {hpHz, lpHz};
    RecordShadowPeer(edit);
}

void TessellaDuckwork::RecordShadowPeerControls(float attackMs, float releaseMs, float makeupDb) {
    PeerEdit edit;
    edit.controls = {attackMs, releaseMs, makeupDb};
    RecordShadowPeer(edit);
}

// A record without bands counts as present all the same: with one band from 0 to 0 Hz, which is
// never written.
void TessellaDuckwork::RecordShadowPeer(const PeerEdit& edit) {
    const std::scoped_lock lock(persistedMutex);
    if (edit.bands)
        shadowPeer.TakeBands(edit.bands->bands, edit.bands->count);
    if (edit.hpLp) {
        shadowPeer.hpHz = edit.hpLp->hpHz;
        shadowPeer.lpHz = edit.hpLp->lpHz;
    }
    if (edit.controls) {
        shadowPeer.attackMs = edit.controls->attackMs;
        shadowPeer.releaseMs = edit.controls->releaseMs;
        shadowPeer.makeupDb = edit.controls->makeupDb;
    }
    shadowPeer.bandCount = std::max(shadowPeer.bandCount, 1);
    shadowPeer.Touch();
    shadowPeer.applied = edit.written;
}

void TessellaDuckwork::ClearShadowPeer() {
    const std::scoped_lock lock(persistedMutex);
    shadowPeer = {.edition = shadowPeer.edition};
    shadowPeer.Touch();
}

bool TessellaDuckwork::ApplyShadowPeerToSHM() {
    ShadowPeer shadow;
    {
        const std::scoped_lock lock(persistedMutex); // not held while the registry may wait
        if (shadowPeer.bandCount < 1 || shadowPeer.applied)
            return false;
        shadow = shadowPeer;
    }
    if (!shm.Opened() || shm.RemoteId() == 0)
        return false;
    const bool written = WriteToPeer(shadow);
    const std::scoped_lock lock(persistedMutex);
    // What was recorded or loaded in the meantime has not been written.
    if (written && shadowPeer.edition == shadow.edition)
        shadowPeer.applied = true;
    return written;
}

/// False, and the record stays to be applied later, when a write found no peer or a busy lock.
bool TessellaDuckwork::WriteToPeer(const ShadowPeer& shadow) {
    bool written = false;
    WithRegistry([&] {
        written = shm.WriteRemoteHpLp(shadow.hpHz, shadow.lpHz) != 0 &&
                  shm.WriteRemoteControls(shadow.attackMs, shadow.releaseMs, shadow.makeupDb) != 0;
        const auto bands = bandsOf(shadow);
        if (written && std::any_of(bands.begin(), bands.end(), hasWidth))
            written = shm.WriteRemoteBands(bands.data(), shadow.bandCount) != 0;
    });
    return written;
}
