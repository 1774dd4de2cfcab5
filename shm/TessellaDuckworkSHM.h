/// An instance's handle on the machine-wide registry: its own slot, its peer, the other instances.
#pragma once

#include "shm/LockedSlot.h"
#include "shm/Membership.h"
#include "shm/TDRecords.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <type_traits>
#include <vector>

/// One per plug-in instance, at a fixed address (the instance id contains it).
///
/// Threads: Open, Close and the destructor run on the main thread while no other thread uses the
/// handle; every other operation, OpenLater too, may run beside any other, each from the threads
/// noted with it.
/// A slot can be lost: swept while this process stood still and claimed by another instance, or
/// with its whole segment. No operation then touches what is not its own; the next Touch claims
/// another slot and restores in it what the lost one held, counters included.
/// Locks, after each operation: *patient* waits up to 0.5 s, *try* never waits, *none* takes none.
/// Failure: on a closed handle, a busy lock, a lost slot or a missing peer an operation does
/// nothing and returns the value noted as "else". Operations with a lock let boost's lock_exception
/// pass (the mutex itself is broken, which is not expected); callers that must not throw absorb it.
/// Numbers are handed on as another process left them: floats may be anything, also not finite,
/// and the reader checks them. Counts, names and flags are made safe here.
class TessellaDuckworkSHM {
public:
    /// What the audio thread takes from the registry for one block. ReadAudioCycle leaves the
    /// fields that it does not set as the caller put them.
    struct TDAudioReadCycle {
        bool bypass = false;
        bool duckSelf = true;
        std::uint64_t remoteId = 0;
        bool bandsChanged = false;  ///< bandsSeq differs from the last one the caller applied.
        std::uint64_t bandsSeq = 0; ///< This and the next two only when bandsChanged.
        std::int32_t bandCount = 0; ///< 0 to 3.
        TDBand bands[shm::kBandCount] = {};
        bool hpLpChanged = false;
        std::uint64_t hpLpSeq = 0; ///< This and the next two only when hpLpChanged.
        float hpHz = shm::kDefaultHpHz;
        float lpHz = shm::kDefaultLpHz;
        bool controlsChanged = false;
        std::uint64_t controlsSeq = 0; ///< This and the next only when controlsChanged.
        float controls[3] = {shm::kDefaultAttackMs, shm::kDefaultReleaseMs, shm::kDefaultMakeupDb};
        bool audioValid = false; ///< The caller's buffer holds the peer's spectrum of this call.
        bool audioNew = false;   ///< And did not hold it before.
    };

    TessellaDuckworkSHM() = default;
    /// Closes, then unmaps the segment. Never throws. [main]
    ~TessellaDuckworkSHM();
    TessellaDuckworkSHM(const TessellaDuckworkSHM&) = delete;
    TessellaDuckworkSHM& operator=(const TessellaDuckworkSHM&) = delete;

    // Lifecycle (SegmentLifecycle.cpp)

    /// Joins the registry, or creates it, and claims a free slot named "TessellaDuckwork"; an open
    /// handle first gives its slot back. Waits up to 1 s for a segment that another process is
    /// creating. False: no free slot, busy lock or system error; the handle is closed then. No
    /// exception. [main; patient]
    [[nodiscard]] bool Open();
    /// Open once more, for a handle that Open has left closed: what stood in the way may be gone.
    /// Gives nobody time to finish a segment. True when open. [heartbeat; tries of up to 50 ms]
    bool OpenLater() noexcept;
    /// Releases the own slot. The slot's contents, a peer's link to it, the mapping and the
    /// object's name stay. With the lock busy the slot is left to the sweeps. [main; patient]
    void Close() noexcept;
    /// Heartbeat: marks the own slot alive. When the slot or its segment is lost, joins the
    /// registry that stands there now, or makes one, under the same id. [heartbeat; tries of up to
    /// 50 ms]
    void Touch() noexcept;
    /// Frees the slots of other instances without a sign of life for 11 s. [ui; patient]
    void CleanDead();
    /// Removes the segment's name when no slot in it has shown life for maxAgeSeconds, or when it
    /// is too short to be a registry. One that has just been made, is still without magic word or
    /// belongs to another user is left alone. Only reads, needs no open handle. [any but audio;
    /// none]
    static void ForceCleanIfStale(int maxAgeSeconds) noexcept;
    /// Lists every other active instance in slot order; a crashed one stays until CleanDead.
    /// Else false and an empty list. [ui; patient]
    bool GetActiveInstances(std::vector<TDInstanceInfo>& out) const;

    /// Whether a slot is held, constant from a successful Open to Close. [any]
    [[nodiscard]] bool Opened() const { return opened.load(std::memory_order_acquire); }
    /// Own instance id, constant from Open to Close; 0 when closed. [any]
    [[nodiscard]] std::uint64_t MyId() const { return myId.load(std::memory_order_relaxed); }
    /// The peer's id as last set or read; 0 when unpaired. [any; none]
    [[nodiscard]] std::uint64_t RemoteId() const {
        return remoteId.load(std::memory_order_relaxed); // a value by itself, publishes nothing
    }

    // Own slot (OwnSlot.cpp). The writers of a settings group return its new counter, which the
    // caller records: a counter that later differs means that the peer has edited the group.

    /// Copies at most 63 bytes of a NUL-terminated name. Else false. [main, ui; patient]
    bool SetDisplayName(const char* name);
    bool TrySetDisplayName(const char* name); ///< The same for the audio thread. [audio; try]
    /// Writes the whole band set: min(n, 3) bands. Else 0. [main, ui; patient]
    std::uint64_t WriteBands(const TDBand* bands, int n);
    /// Writes both filter corners. Else 0. [main, ui; patient]
    std::uint64_t WriteHpLp(float hpHz, float lpHz);
    /// Writes all three controls. Else 0. [main, ui; patient]
    std::uint64_t WriteControls(float attackMs, float releaseMs, float makeupDb);
    /// WriteControls for the audio thread. nullopt when the lock was busy (try again in a later
    /// block), 0 when closed; the same for the two below. [audio; try]
    std::optional<std::uint64_t> TryWriteControls(float attackMs, float releaseMs, float makeupDb);
    std::optional<std::uint64_t> TryWriteBands(const TDBand* bands, int n);
    std::optional<std::uint64_t> TryWriteHpLp(float hpHz, float lpHz);
    /// Stores three values nobody reads yet, and the heartbeat. [ui; try]
    void WriteState(const float* state);
    /// Publishes the display spectrum: min(n, 256) dB values. [ui; patient]
    void WriteBins(const float* bins, int n);
    bool PublishDuckSelf(bool on);     ///< Else false. [main, ui; patient]
    bool TryPublishDuckSelf(bool on);  ///< Else false. [audio; try]
    bool SetMyLatency(int samples);    ///< Else false. [main; patient]
    bool TrySetMyLatency(int samples); ///< Else false. [audio; try]
    void SetMyBypass(bool on);         ///< [main, ui; patient]
    /// The own bypass flag, which the peer may have changed. Busy: the flag as last read; closed:
    /// false. [main, ui; try]
    bool ReadMyBypass();
    /// The own duckSelf flag, which the peer may have changed; nothing without a slot. [main, ui;
    /// no lock]
    [[nodiscard]] std::optional<bool> ReadMyDuckSelf() const;

    // Own settings read back, as the peer may have edited them (OwnSlot.cpp). Each returns the
    // group's counter, else 0 and the defaults.

    /// Copies min(own count, max, 3) bands; else count 0. [main, ui; patient]
    std::uint64_t ReadOwnBands(TDBand* out, int& count, int max) const;
    /// Else 20 and 20000 Hz. [main, ui; patient]
    std::uint64_t ReadOwnHpLp(float& hpHz, float& lpHz) const;
    /// Else 10 ms, 100 ms and 0 dB. [main, ui; patient]
    std::uint64_t ReadOwnControls(float& attackMs, float& releaseMs, float& makeupDb) const;

    // Peer (PeerLink.cpp): the active slot whose id is RemoteId(), looked up at every call.

    /// Pairs with an instance, or unpairs with 0. Both slots then point at each other; former
    /// peers of either side that still pointed back are released. RemoteId() changes at once,
    /// whether or not the lock was obtained and the instance exists. [ui; patient]
    void SetRemoteId(std::uint64_t id);
    /// Takes over a pairing or unpairing that the other side has made. [ui; try]
    void SyncRemoteId();
    /// Whether an instance can be paired with without taking it from a third one. Else, also when
    /// it is not there, false. [ui; try]
    bool IsFree(std::uint64_t id) const;
    /// As ReadOwnBands, of the peer. [ui; patient]
    std::uint64_t ReadRemoteBands(TDBand* out, int& count, int max) const;
    /// As ReadOwnHpLp, of the peer. [ui; patient]
    std::uint64_t ReadRemoteHpLp(float& hpHz, float& lpHz) const;
    /// As ReadOwnControls, of the peer. [ui; patient]
    std::uint64_t ReadRemoteControls(float& attackMs, float& releaseMs, float& makeupDb) const;
    /// The peer's gain reduction of bands 1 to 3. Else false, gr untouched. [ui; try]
    bool ReadRemoteGR(float* gr) const;
    /// min(n, 1024) magnitudes of the peer's spectrum. Else false, out untouched. [ui; try]
    bool ReadRemoteAudioBins(float* out, int n) const;
    /// As WriteBands, of the peer: its audio thread applies them. [main, ui; patient]
    std::uint64_t WriteRemoteBands(const TDBand* bands, int n);
    /// As WriteHpLp, of the peer. [main, ui; patient]
    std::uint64_t WriteRemoteHpLp(float hpHz, float lpHz);
    /// As WriteControls, of the peer. [main, ui; patient]
    std::uint64_t WriteRemoteControls(float attackMs, float releaseMs, float makeupDb);

    // Flags of any active instance (PeerLink.cpp). Deliberate: an instance that cannot be read
    // shows as ducking itself and not bypassed.

    void SetBypassOf(std::uint64_t id, bool on);   ///< [ui; patient]
    bool ReadBypassOf(std::uint64_t id) const;     ///< Else false. [ui; try]
    void SetDuckSelfOf(std::uint64_t id, bool on); ///< [ui; patient]
    bool ReadDuckSelfOf(std::uint64_t id) const;   ///< Else true. [ui; try]

    // Audio thread (AudioCycle.cpp): no wait, no allocation.

    /// Publishes meters (three floats each) and a sign of life; with writeBins also the spectrum,
    /// min(n, 1024) magnitudes. Takes no lock when the slot has all of it. Busy lock: nothing in
    /// this block, and false. [audio; try]
    bool WriteAudioCycle(const float* state, const float* gainReduction, const float* bins, int n,
                         bool writeBins);
    /// Collects flags, peer id, the settings groups whose counter differs from the one last
    /// applied, and min(n, 1024) magnitudes of the peer (peerBins may be null: not wanted).
    /// peerBins keeps its contents from call to call: a spectrum that it holds is not copied again.
    /// Takes no lock when no group changed and no spectrum is wanted, no peer set or nothing new
    /// published. False when closed (cycle untouched), busy (flags and peer id set, no values) or
    /// without a slot for the moment (bypass as last read).
    /// RemoteId() follows the slot. [audio; try]
    bool ReadAudioCycle(std::uint64_t lastBandsSeq, std::uint64_t lastHpLpSeq,
                        std::uint64_t lastControlsSeq, TDAudioReadCycle& cycle, float* peerBins,
                        int n);
    /// The caller's peerBins no longer hold what was copied there. [audio, or main while there is
    /// no audio thread]
    void ForgetPeerSpectrum() { held = {}; }

private:
    /// What the caller of ReadAudioCycle has got.
    struct HeldSpectrum {
        const shm::RegistrySegment* segment = nullptr; ///< Null: nothing. Compared, not followed.
        std::size_t slot = 0;
        std::uint64_t peerId = 0;
        std::uint64_t seq = 0;
        const float* where = nullptr;
        int count = 0;
    };
    /// What WriteAudioCycle last put into the slot.
    struct PublishedMeters {
        std::array<float, 3> state{}, gainReduction{};
        bool operator==(const PublishedMeters&) const = default;
    };

    [[nodiscard]] bool HoldsSpectrum(const shm::RegistrySegment& segment, const float* peerBins,
                                     int n) const;
    [[nodiscard]] std::size_t SlotIndex() const {
        return static_cast<std::size_t>(slotIndex.load(std::memory_order_relaxed)); // as `source`
    }
    template <class Lock>
    shm::LockedSlot<Lock> LockOwn() const {
        return {source, SlotIndex(), MyId()};
    }
    template <class Lock>
    shm::LockedSlot<Lock> LockPeer() const {
        return {source, RemoteId()};
    }
    /// Changes the own slot and remembers what it then holds. The change's result, or nothing when
    /// the slot cannot be had.
    template <class Lock, class Change>
    std::optional<std::invoke_result_t<Change, shm::RegistrySlot&>> ChangeOwn(Change&& change) {
        const auto own = LockOwn<Lock>();
        if (!own)
            return std::nullopt;
        const auto result = change(*own);
        Remember(*own);
        return result;
    }
    bool Enter(shm::Arrival arrival) noexcept;
    [[nodiscard]] bool ShowLife() noexcept;
    [[nodiscard]] bool HoldsSlot(std::int64_t since) const;
    [[nodiscard]] bool IsAtHome() const noexcept;
    void ComeBack() noexcept;
    void MoveTo(shm::Membership&& member, std::uint64_t id);
    void Remember(const shm::RegistrySlot& slot);
    shm::SlotSettings Remembered();
    void ResetMembers();

    std::atomic<bool> opened{false}; ///< This and myId change in Open, OpenLater and Close only.
    std::atomic<std::uint64_t> myId{0};
    std::atomic<std::uint64_t> remoteId{0};
    std::atomic<bool> cachedBypass{false};
    HeldSpectrum held;                        ///< [audio]
    std::optional<PublishedMeters> published; ///< [audio]

    // Where the own slot lies. Changes in Open, OpenLater, Close and Touch. Whoever meets the new
    // segment with the former index, or the other way round, finds a slot that is not its own.
    shm::SegmentSource source; ///< In mapping; null without a slot.
    std::atomic<std::int32_t> slotIndex{0};
    shm::SegmentObject object;                ///< [main, heartbeat]
    shm::GuardedMapping mapping;              ///< [main, heartbeat]
    std::vector<shm::GuardedMapping> retired; ///< Left behind, perhaps in use. [main, heartbeat]
    std::mutex memoryMutex;                   ///< Guards the following; held for a copy.
    shm::SlotSettings memory;                 ///< What the own slot held when last changed or seen.
};
