/// An instance's handle on the machine-wide registry: its own slot, its peer, the other instances.
#pragma once

#include "shm/SegmentLayout.h"
#include "shm/TDRecords.h"

#include <array>
#include <atomic>
#include <boost/interprocess/mapped_region.hpp>
#include <boost/interprocess/shared_memory_object.hpp>
#include <cstdint>
#include <optional>
#include <vector>

/// One per plug-in instance, at a fixed address (the instance id contains it).
///
/// Threads: Open, Close and the destructor run on the main thread while no other thread uses the
/// handle; every other operation may run beside any other, each from the threads noted with it.
/// Locks, after each operation: *patient* waits up to 0.5 s, *try* never waits, *none* takes none.
/// Failure: on a closed handle, a busy lock or a missing peer an operation does nothing and
/// returns the value noted as "else". Operations with a lock let boost's lock_exception pass (the
/// mutex itself is broken, which is not expected); callers that must not throw absorb it.
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
    /// Releases the own slot. The slot's contents, a peer's link to it, the mapping and the
    /// object's name stay. With the lock busy the slot is left to the sweeps. [main; patient]
    void Close() noexcept;
    /// Heartbeat: marks the own slot alive, unless another instance has taken it. [heartbeat; try]
    void Touch();
    /// Frees the slots of other instances without a sign of life for 11 s. [ui; patient]
    void CleanDead();
    /// Removes the segment's name when no slot in it has shown life for maxAgeSeconds, or when it
    /// is too short to be a registry. A segment still without magic word is left alone. Only
    /// reads, needs no open handle. [any but audio; none]
    static void ForceCleanIfStale(int maxAgeSeconds) noexcept;
    /// Lists every other active instance in slot order; a crashed one stays until CleanDead.
    /// Else false and an empty list. [ui; patient]
    bool GetActiveInstances(std::vector<TDInstanceInfo>& out) const;

    /// Whether a slot is held, constant from a successful Open to Close. [any]
    [[nodiscard]] bool Opened() const { return opened; }
    /// Own instance id, constant from Open to Close; 0 when closed. [any]
    [[nodiscard]] std::uint64_t MyId() const { return myId; }
    /// The peer's id as last set or read; 0 when unpaired. [any; none]
    [[nodiscard]] std::uint64_t RemoteId() const {
        return remoteId.load(std::memory_order_relaxed); // a value by itself, publishes nothing
    }

    // Own slot (OwnSlot.cpp). The writers of a settings group return its new counter, which the
    // caller records: a counter that later differs means that the peer has edited the group.

    /// Copies at most 63 bytes of a NUL-terminated name. [main, ui; patient]
    void SetDisplayName(const char* name);
    /// Writes the whole band set: min(n, 3) bands. Else 0. [main, ui; patient]
    std::uint64_t WriteBands(const TDBand* bands, int n);
    /// Writes both filter corners. Else 0. [main, ui; patient]
    std::uint64_t WriteHpLp(float hpHz, float lpHz);
    /// Writes all three controls. Else 0. [main, ui; patient]
    std::uint64_t WriteControls(float attackMs, float releaseMs, float makeupDb);
    /// WriteControls for the audio thread. nullopt when the lock was busy (try again in a later
    /// block), 0 when closed. [audio; try]
    std::optional<std::uint64_t> TryWriteControls(float attackMs, float releaseMs, float makeupDb);
    /// Stores three values nobody reads yet, and the heartbeat. [ui; try]
    void WriteState(const float* state);
    /// Publishes the display spectrum: min(n, 256) dB values. [ui; patient]
    void WriteBins(const float* bins, int n);
    void PublishDuckSelf(bool on);  ///< [main, ui; patient]
    void SetMyLatency(int samples); ///< [main; patient]
    void SetMyBypass(bool on);      ///< [main, ui; patient]
    /// The own bypass flag, which the peer may have changed. Busy: the flag as last read; closed:
    /// false. [main, ui; try]
    bool ReadMyBypass();

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
    /// published. False when closed (cycle untouched) or busy (flags and peer id set, no values).
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
        const shm::RegistrySlot* slot = nullptr;
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

    [[nodiscard]] bool HoldsSpectrum(const float* peerBins, int n) const;
    shm::RegistrySegment* OpenSegment() const { return opened ? header : nullptr; }
    shm::RegistrySlot& OwnSlot() const;
    void JoinSegment();
    bool ClaimSlot();
    void ResetMembers();

    bool opened = false; ///< This, slotIndex, myId and header change in Open and Close only.
    std::int32_t slotIndex = -1;
    std::uint64_t myId = 0;
    std::atomic<std::uint64_t> remoteId{0};
    std::atomic<bool> cachedBypass{false};
    HeldSpectrum held;                        ///< [audio]
    std::optional<PublishedMeters> published; ///< [audio]
    boost::interprocess::shared_memory_object object;
    boost::interprocess::mapped_region region;
    shm::RegistrySegment* header = nullptr; ///< The mapped segment; null without a slot.
};
