/// An instance's handle on the machine-wide registry: its own slot, its peer, the other instances.
#pragma once

#include "shm/Membership.h"
#include "shm/TDRecords.h"
#include "shm/Visit.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
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
/// nothing and returns the value noted as "else". Patient single calls let boost's lock_exception
/// pass (the mutex itself is broken, which is not expected); a shm::Visit never throws.
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
        float hpHz = shm::kHpHz.Initial();
        float lpHz = shm::kLpHz.Initial();
        bool controlsChanged = false;
        std::uint64_t controlsSeq = 0; ///< This and the next only when controlsChanged.
        float controls[3] = {shm::kAttackMs.Initial(), shm::kReleaseMs.Initial(),
                             shm::kMakeupDb.Initial()};
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
    /// Removes the segment's name when no slot in it has shown life for maxAgeSeconds, or when it
    /// is too short to be a registry. One that has just been made, is still without magic word or
    /// belongs to another user is left alone. Only reads, needs no open handle. [any but audio;
    /// none]
    static void ForceCleanIfStale(int maxAgeSeconds) noexcept;
    /// Whether an id is that of an open handle in this process. [any but audio; none]
    [[nodiscard]] static bool IsOfThisProcess(std::uint64_t id);

    /// Whether a slot is held, constant from a successful Open to Close. [any]
    [[nodiscard]] bool Opened() const { return opened.load(std::memory_order_acquire); }
    /// Own instance id, constant from Open to Close; 0 when closed. [any]
    [[nodiscard]] std::uint64_t MyId() const { return myId.load(std::memory_order_relaxed); }
    /// The peer's id as last set or read; 0 when unpaired. [any; none]
    [[nodiscard]] std::uint64_t RemoteId() const {
        return remoteId.load(std::memory_order_relaxed); // a value by itself, publishes nothing
    }

    // Single calls of what shm::Visit describes (OwnSlot.cpp, PeerLink.cpp), patient where not
    // noted. [main, heartbeat, ui]

    bool SetDisplayName(const char* name);
    std::uint64_t WriteBands(const TDBand* bands, int n); ///< min(n, 3) bands
    std::uint64_t WriteHpLp(float hpHz, float lpHz);
    std::uint64_t WriteControls(float attackMs, float releaseMs, float makeupDb);
    void WriteState(const float* state); ///< try
    void WriteBins(const float* bins, int n);
    bool PublishDuckSelf(bool on);
    bool SetMyLatency(int samples);
    void SetMyBypass(bool on);
    bool ReadMyBypass(); ///< try; closed: false
    /// The own duckSelf flag, which the peer may have changed; nothing without a slot. [any; none]
    [[nodiscard]] std::optional<bool> ReadMyDuckSelf() const;
    /// min(own count, max, 3) bands; else count 0.
    std::uint64_t ReadOwnBands(TDBand* out, int& count, int max);
    std::uint64_t ReadOwnHpLp(float& hpHz, float& lpHz);
    std::uint64_t ReadOwnControls(float& attackMs, float& releaseMs, float& makeupDb);

    /// RemoteId() changes at once, whether or not the lock was obtained and the instance exists.
    void SetRemoteId(std::uint64_t id);
    void SyncRemoteId(); ///< try
    std::uint64_t ReadRemoteBands(TDBand* out, int& count, int max);
    std::uint64_t ReadRemoteHpLp(float& hpHz, float& lpHz);
    std::uint64_t ReadRemoteControls(float& attackMs, float& releaseMs, float& makeupDb);
    bool ReadRemoteGR(float* gr);                ///< try
    bool ReadRemoteAudioBins(float* out, int n); ///< try
    std::uint64_t WriteRemoteBands(const TDBand* bands, int n);
    std::uint64_t WriteRemoteHpLp(float hpHz, float lpHz);
    std::uint64_t WriteRemoteControls(float attackMs, float releaseMs, float makeupDb);
    void SetBypassOf(std::uint64_t id, bool on);
    bool ReadBypassOf(std::uint64_t id); ///< try
    void SetDuckSelfOf(std::uint64_t id, bool on);
    bool ReadDuckSelfOf(std::uint64_t id); ///< try
    bool GetActiveInstances(std::vector<TDInstanceInfo>& out);
    void CleanDead();

    // Audio thread (AudioCycle.cpp): no wait, no allocation.

    /// Publishes meters (three floats each) and a sign of life; with writeBins also the spectrum,
    /// min(n, 1024) magnitudes. Takes no lock when the slot has all of it. Busy lock: nothing in
    /// this block, and false. [audio; try]
    bool WriteAudioCycle(const float* state, const float* gainReduction, const float* bins, int n,
                         bool writeBins);
    /// Collects flags, peer id, the settings groups whose counter differs from the one last
    /// applied, and min(n, 1024) magnitudes of the peer (peerBins may be null: not wanted).
    /// peerBins keeps its contents from call to call: a spectrum that it holds is not copied again.
    /// Takes no lock when no group changed and no spectrum is wanted. False when closed (cycle
    /// untouched), busy (flags and peer id set, no values) or without a slot for the moment (bypass
    /// as last read).
    /// RemoteId() follows the slot. [audio; try]
    bool ReadAudioCycle(std::uint64_t lastBandsSeq, std::uint64_t lastHpLpSeq,
                        std::uint64_t lastControlsSeq, TDAudioReadCycle& cycle, float* peerBins,
                        int n);
    /// The caller's peerBins no longer hold what was copied there. [audio, or main while there is
    /// no audio thread]
    void ForgetPeerSpectrum() { held = {}; }
    /// The slot no longer shows what WriteAudioCycle last put there. [as above]
    void ForgetPublished() { published.reset(); }

private:
    friend class shm::Visit;
    template <class Lock>
    friend class shm::detail::VisitWith;

    /// One patient operation. A lock that is broken, and not only busy, raises boost's
    /// lock_exception.
    class SingleVisit : public shm::PatientVisit {
    public:
        explicit SingleVisit(TessellaDuckworkSHM& visitor);
    };

    /// What the caller of ReadAudioCycle has got.
    struct HeldSpectrum {
        const shm::RegistrySlot* slot = nullptr; ///< null: nothing; compared, not followed
        std::uint64_t peerId = 0;
        std::uint64_t seq = 0;
        const float* where = nullptr;
        int count = 0;
        bool operator==(const HeldSpectrum&) const = default;
    };
    /// What WriteAudioCycle last put into the slot.
    struct PublishedMeters {
        std::array<float, 3> state{}, gainReduction{};
        bool operator==(const PublishedMeters&) const = default;
    };

    void TakeSpectrum(const shm::RegistrySlot& peer, TDAudioReadCycle& cycle, float* peerBins,
                      int n);
    [[nodiscard]] std::size_t SlotIndex() const {
        return static_cast<std::size_t>(slotIndex.load(std::memory_order_relaxed)); // as `source`
    }
    bool Enter(shm::Arrival arrival) noexcept;
    [[nodiscard]] bool ShowLife() noexcept;
    [[nodiscard]] bool HoldsSlot(std::int64_t since) const;
    [[nodiscard]] bool IsAtHome() const noexcept;
    void ComeBack() noexcept;
    void MoveTo(shm::Membership&& member, std::uint64_t id);
    void Remember(const shm::RegistrySlot& slot);
    shm::SlotMemory Remembered();
    void ResetMembers();

    std::atomic<bool> opened{false}; ///< This and myId change in Open, OpenLater and Close only.
    std::atomic<std::uint64_t> myId{0};
    std::atomic<std::uint64_t> remoteId{0};
    std::atomic<bool> cachedBypass{false};
    HeldSpectrum held;                        ///< [audio]
    std::size_t peerIndex = 0;                ///< The slot that the peer was last seen in. [audio]
    std::optional<PublishedMeters> published; ///< [audio]

    // Where the own slot lies. Changes in Open, OpenLater, Close and Touch. Whoever meets the new
    // segment with the former index, or the other way round, finds a slot that is not its own.
    shm::SegmentSource source; ///< In mapping; null without a slot.
    std::atomic<std::int32_t> slotIndex{0};
    shm::SegmentObject object;                ///< [main, heartbeat]
    shm::GuardedMapping mapping;              ///< [main, heartbeat]
    std::vector<shm::GuardedMapping> retired; ///< Left behind, perhaps in use. [main, heartbeat]
    std::mutex memoryMutex;                   ///< Guards the following; held for a copy.
    shm::SlotMemory memory;                   ///< What the own slot held when last changed or seen.
};

namespace shm::detail {

template <class Lock>
VisitWith<Lock>::VisitWith(TessellaDuckworkSHM& visitor)
    : HeldRegistry<Lock>(visitor.source), Visit(visitor, this->use, this->taken) {}

} // namespace shm::detail
