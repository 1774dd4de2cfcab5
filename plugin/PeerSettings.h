/// The other side: whom this one is paired with, and what it has set there.
#pragma once

#include "plugin/StateChunk.h"
#include "shm/TessellaDuckworkSHM.h"

#include <cstdint>
#include <mutex>
#include <vector>

/// Remembers the peer by name and what this side last set on it, for a project that is opened
/// again: then it pairs by itself and sets it once more. A record belongs to one peer and is never
/// applied to another.
///
/// The registry is locked first, then the mutex, for copies. [main, heartbeat, ui]
class PeerSettings {
public:
    explicit PeerSettings(TessellaDuckworkSHM& ownHandle) : registry(ownHandle) {}

    /// Keeps up with the pairing: finds the remembered peer where there is none, takes over a new
    /// one or a new name, applies the record to the peer that it belongs to. Whoever looks, at a
    /// load, with a heartbeat or in an editor's frame, follows one rule.
    void Follow(shm::Visit& visit);
    /// The peer's settings as they stand, usable; without bands when there is none.
    [[nodiscard]] shm::Settings Read(shm::Visit& visit);
    /// Sets the linked peer and remembers all that it then holds. What a busy registry does not
    /// take is recorded, to be applied with a later Follow.
    void Edit(shm::Visit& visit, const shm::SettingsEdit& edit);
    /// The user's choice.
    void PairWith(shm::Visit& visit, const TDInstanceInfo& peer);
    /// Before a save: the linked peer is remembered, also where the other side has just made the
    /// link, and a record that exists for it takes what it holds now.
    void Refresh(shm::Visit& visit);

    /// At most 63 bytes of the name of the peer last paired with; null for none.
    void SetPersistedPeerName(const char* name);
    // What this side has set on its peer. The record counts as not applied after each of these.
    void RecordShadowPeerBands(const TDBand* bands, int count); ///< none: clears the record
    void RecordShadowPeerHpLp(float hpHz, float lpHz);
    void RecordShadowPeerControls(float attackMs, float releaseMs, float makeupDb);
    void ClearShadowPeer();
    /// Writes the record to the linked peer, once. False when there is nothing to write, the
    /// remembered peer is not linked, or the registry is out of order.
    bool ApplyShadowPeerToSHM();

    void WriteTo(state::Record& record) const;
    void Load(const state::Reading& reading, const state::Record& record);
    /// Somebody has changed what a project keeps; asked once.
    [[nodiscard]] bool TakeDirty();

private:
    // The mutex is held.
    [[nodiscard]] std::uint64_t LinkedId(shm::Visit& visit, shm::Name& itsName) const;
    void Adopt(std::uint64_t id, const shm::Name& itsName);
    void Settle(std::uint64_t id, const shm::Name& itsName);
    void Relink(shm::Visit& visit);
    bool Apply(shm::Visit& visit);
    [[nodiscard]] static shm::Settings ReadAll(shm::Visit& visit);

    TessellaDuckworkSHM& registry;
    mutable std::mutex mutex;     ///< guards all below
    state::Peer kept;             ///< as a project keeps it
    bool applied = false;         ///< the peer has been given the settings
    std::uint64_t nameOf = 0;     ///< the instance that the name is known to be of; 0: not met yet
    std::uint64_t passedOver = 0; ///< linked when a state brought another name: not taken over
    shm::Settings known;          ///< the peer's as last read
    std::uint64_t knownOf = 0;
    bool dirty = false;
    std::vector<TDInstanceInfo> listing;
};
