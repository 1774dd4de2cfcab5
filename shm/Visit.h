/// Several operations of one instance under one lock of the registry.
#pragma once

#include "shm/RegistryLock.h"
#include "shm/SegmentSource.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

class TessellaDuckworkSHM;

namespace shm {

/// The registry as an instance finds it while it holds the lock. The named operations stand here
/// once; TessellaDuckworkSHM has them as single calls, too.
///
/// Made as PatientVisit or TryVisit, whose lock is held as long as it lives: for copies only, no
/// call-out, no other lock that anybody waits for. Never throws: without the lock (closed, busy,
/// broken), a slot that is lost or a peer that is not there, an operation changes nothing and gives
/// the value noted as "else".
/// Numbers are handed on as another process left them: floats may be anything, also not finite,
/// and the reader checks them. Counts, names and flags are made safe here.
class Visit {
public:
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

    /// Whether the registry is locked.
    explicit operator bool() const { return static_cast<bool>(lock); }
    /// The lock is no lock: nobody will ever hold it.
    [[nodiscard]] bool IsBroken() const { return lock.IsBroken(); }

    // Own slot (OwnSlot.cpp). The writers of a settings group return its new counter, which the
    // caller records: a counter that later differs means that the peer has edited the group. The
    // readers return the counter, too, else 0 and the defaults.

    bool SetDisplayName(const char* name); ///< at most 63 bytes; else false
    std::uint64_t WriteBands(const BandSet& bands);
    std::uint64_t WriteHpLp(const Filters& filters);
    std::uint64_t WriteControls(const Controls& controls);
    std::uint64_t ReadOwnBands(BandSet& out) const;
    std::uint64_t ReadOwnHpLp(Filters& out) const;
    std::uint64_t ReadOwnControls(Controls& out) const;
    void WriteState(const float* state);         ///< three values nobody reads, and the heartbeat
    void WriteBins(std::span<const float> bins); ///< at most 256 dB values of the display
    bool PublishDuckSelf(bool on);               ///< else false, as the next ones
    bool SetMyLatency(int samples);
    bool SetMyBypass(bool on);
    bool ReadMyBypass();   ///< else the flag as last read
    bool PublishSilence(); ///< zero spectrum, meters and gain reduction

    // Peer (PeerLink.cpp): the active slot whose id is RemoteId()

    /// Pairs with an instance, or unpairs with 0. Both slots then point at each other; former
    /// peers of either side that still pointed back are released.
    void SetRemoteId(std::uint64_t id);
    void SyncRemoteId(); ///< takes over a pairing or unpairing that the other side has made
    [[nodiscard]] bool HasPeer() const { return Peer() != nullptr; }
    std::uint64_t ReadRemoteBands(BandSet& out) const;
    std::uint64_t ReadRemoteHpLp(Filters& out) const;
    std::uint64_t ReadRemoteControls(Controls& out) const;
    std::uint64_t WriteRemoteBands(const BandSet& bands);
    std::uint64_t WriteRemoteHpLp(const Filters& filters);
    std::uint64_t WriteRemoteControls(const Controls& controls);
    bool ReadRemoteGR(float* gr) const;                   ///< three floats; else false, untouched
    bool ReadRemoteAudioBins(std::span<float> out) const; ///< the same, of at most 1024

    // Any instance (PeerLink.cpp). Deliberate: one that cannot be read shows as ducking itself and
    // not bypassed.

    void SetBypassOf(std::uint64_t id, bool on);
    [[nodiscard]] bool ReadBypassOf(std::uint64_t id) const; ///< else false
    void SetDuckSelfOf(std::uint64_t id, bool on);
    [[nodiscard]] bool ReadDuckSelfOf(std::uint64_t id) const; ///< else true
    /// It can be paired with without taking it from a third one. Else false.
    [[nodiscard]] bool IsFree(std::uint64_t id) const;
    bool ReadNameOf(std::uint64_t id, Name& out) const; ///< of an active one; else false
    /// All other active instances in slot order; a crashed one until CleanDead. Else false, empty.
    bool GetActiveInstances(std::vector<TDInstanceInfo>& out) const;
    void CleanDead(); ///< frees the slots of others without a sign of life for 11 s

protected:
    friend class ::TessellaDuckworkSHM;

    Visit(TessellaDuckworkSHM& visitor, const SegmentUse& used, TryLock& taken);
    ~Visit();

private:
    [[nodiscard]] RegistrySlot* Own() const { return own; }
    [[nodiscard]] RegistrySlot* Peer() const;
    [[nodiscard]] RegistrySlot* Of(std::uint64_t id) const;

    TessellaDuckworkSHM& handle;
    const SegmentUse& segment;
    TryLock& lock;
    RegistrySlot* own = nullptr; ///< null when the lock is not held or the slot is lost
    bool ownChanged = false;     ///< to be remembered for a slot to come
};

namespace detail {

/// The lock outlives the visit that uses it.
template <class Lock>
struct HeldRegistry {
    explicit HeldRegistry(const SegmentSource& source) : use(source), taken(use.Get()) {}
    SegmentUse use;
    Lock taken;
};

template <class Lock>
class VisitWith : private HeldRegistry<Lock>, public Visit {
public:
    explicit VisitWith(TessellaDuckworkSHM& visitor);
};

} // namespace detail

/// Waits for the lock as PatientLock does. [main, heartbeat, ui]
using PatientVisit = detail::VisitWith<PatientLock>;
/// One try. [any]
using TryVisit = detail::VisitWith<TryLock>;

} // namespace shm
