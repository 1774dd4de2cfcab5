/// This side's settings, and how host, registry, editors and saved state keep in step over them.
#pragma once

#include "adapter/IPlugAPIBase.h"
#include "dsp/Relaxed.h"
#include "dsp/SpectralProcessor.h"
#include "plugin/AudioGate.h"
#include "plugin/Parameters.h"
#include "plugin/StateChunk.h"
#include "shm/TessellaDuckworkSHM.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <span>

/// One owner for all that this track can be set to. Numbers are parameters of the framework; band
/// edges, band switches, name and priority live here. Everything goes out to the own slot of the
/// registry, where the peer and its editor read it, and comes in from there when they change it.
///
/// A settings group of the slot has a counter that every write steps. `Group` says which of its
/// writes this side knows, so that a foreign edit is told from an own one, taken once, and never
/// run over by what this side has not published yet. However an edit is noticed, by a block, an
/// editor's frame, the heartbeat, a save or an activation, one function takes it in (Take); only
/// the lock differs.
///
/// Order of locks: gate, registry, mutex. The gate keeps blocks from meeting half a change: whoever
/// but the audio thread touches what is not atomic holds it closed, and the mutex, for copies. The
/// host is told after all of them are let go.
/// Its state and what this side does to it: OwnSettings.cpp; taking in and publishing:
/// OwnSettingsSync.cpp.
class OwnSettings {
public:
    /// All must outlive it. Nothing is published yet.
    OwnSettings(iplug::IPlugAPIBase& ownerOfParams, TessellaDuckworkSHM& ownHandle,
                dsp::SpectralProcessor& processor);

    // As processing reads them. [any]

    [[nodiscard]] double Value(int index) const { return framework.GetParam(index).Value(); }
    [[nodiscard]] bool IsBandOn(std::size_t band) const { return bandOn[band]; }
    [[nodiscard]] bool DuckSelf() const { return duckSelf; }

    // As people and states see them. [main, heartbeat, ui]

    [[nodiscard]] shm::Name InstanceName() const;
    /// Every band with its edges, whether it is on or off.
    [[nodiscard]] shm::Settings Now() const;
    /// The bands as others see them: edges that make no bands give way to the splits.
    [[nodiscard]] shm::BandSet PublishableBands() const { return WithUsableEdges(Now().bands); }
    /// Steps when anybody but this side's editor has changed the bands.
    [[nodiscard]] std::uint64_t ForeignBandChanges() const { return foreignBands; }
    /// Somebody has changed what a project keeps; asked once.
    [[nodiscard]] bool TakeDirty() { return dirty.exchange(false, std::memory_order_relaxed); }

    // Changes by this side

    /// The host, a state or the editor has set a parameter. Controls go out to the registry: with
    /// a later block where there is one at work, else at once. [any]
    void OnParamChange(int index, bool onAudioThread);
    /// The user's hand on a parameter, put into its range. [ui]
    void SetParam(int index, double value);
    /// The user's hand in the own editor. [ui]
    void Edit(const shm::SettingsEdit& edit);
    void SetName(const shm::Name& name); ///< [main, ui]
    void SetDuckSelf(bool on);           ///< [main, ui]
    void SetLatency(int samples);        ///< published for others to see. [main]
    void PublishSilence(); ///< nothing to hear until the next block. [main, heartbeat]
    void SetBandEnabled(int band, bool on); ///< 0 to 2; others are ignored. [main, ui]
    /// Low and high edge of band 1, 2, 3, Hz; six values, as a state keeps them. [main, ui]
    void SetPersistedBandFreqs(const float* edgesHz);
    void UpdateEnvelope(); ///< attack and release into the engine. [any]

    // Keeping in step

    /// Keeps blocks from meeting what the caller is about to change. [any but audio]
    [[nodiscard]] AudioGate::Closed CloseGate() { return AudioGate::Closed(gate); }
    /// Takes in what others have set and publishes what they have not got yet. The gate is closed.
    /// [main, heartbeat, ui]
    void Sync(shm::Visit& visit);
    // After Sync: what the host has set goes out, too, if not with its events. Deliberate: bands
    // not with an editor's frame; the wheel over them turns a parameter only. [main, heartbeat, ui]

    void PublishHostsFilters(shm::Visit& visit);
    void PublishHostsBands(shm::Visit& visit);
    /// Tells the host of what Sync has taken in; no lock is held. [main, heartbeat, ui]
    void TellHost();
    /// Sync for what is kept: a band that is off shows the host its own ratio again.
    void Flush(shm::Visit& visit);
    /// One Flush of its own, patient; busy: nothing is taken in. [main, ui]
    void FlushSHMToParams();
    /// The block's part: reads the registry, as ReadAudioCycle, takes in what has changed there
    /// and publishes with one try. While the gate is closed it only reads: all else is left to a
    /// later block. [audio]
    bool ReadAndSyncInBlock(TessellaDuckworkSHM::TDAudioReadCycle& cycle,
                            std::span<float> peerBins);

    // State. The gate is closed. [main]

    void WriteTo(state::Record& record, state::ParamValues& params) const;
    /// Takes name, bands and parameters; all of it is to be published then (Sync).
    void Load(const state::Reading& reading, const state::Record& record);
    /// Everything is to be published with the next Sync.
    void PublishAll();

private:
    /// How far this side and the registry agree on a settings group.
    struct Group {
        dsp::Relaxed<std::uint64_t> last;  ///< counter of what the engine has; 0: a stand-in
        dsp::Relaxed<std::uint64_t> seen;  ///< counter of what the parameters have
        std::atomic<unsigned> pending = 0; ///< members set here that the registry lacks, a bit each

        void Know(std::uint64_t seq) { last = seen = seq; }
    };
    /// What else of the own slot the registry may lack.
    enum Unpublished : unsigned { Name = 1, Priority = 2, Latency = 4, Silence = 8 };
    static constexpr unsigned kWhole = ~0U; ///< all members of a group

    // Taking in. The gate is closed and the mutex held, or the block has passed the gate.
    void Take(const shm::BandSet& set, std::uint64_t seq);
    template <class Values>
    void Take(Group& group, int firstParam, const Values& values, std::uint64_t seq, bool real);
    void TakeInBlock(const TessellaDuckworkSHM::TDAudioReadCycle& cycle, bool complete);
    void TakePriority();
    void SetFromRegistry(int index, double value, bool real);

    // Publishing, as above, with the registry locked.
    void Publish(shm::Visit& visit);
    template <class Values>
    void Publish(Group& group, int firstParam, shm::Visit& visit,
                 std::uint64_t (shm::Visit::*read)(Values&) const,
                 std::uint64_t (shm::Visit::*write)(const Values&));
    [[nodiscard]] bool AnythingPending() const;
    void PublishNow(bool patient);

    /// Filters or controls, as the parameters from an index on have them.
    template <class Values>
    [[nodiscard]] Values ValuesOf(int firstParam) const {
        Values values;
        for (int i = 0; i < Values::kCount; ++i)
            values[i] = static_cast<float>(Value(firstParam + i));
        return values;
    }
    [[nodiscard]] shm::BandSet BandsNow() const;
    [[nodiscard]] shm::BandSet WithUsableEdges(shm::BandSet set) const;
    void NoteParamChange(int index);
    std::uint32_t SetBands(const shm::BandSet& set);
    void SetEdges(const shm::BandSet& set);
    void NoteChange() { dirty.store(true, std::memory_order_relaxed); }

    iplug::IPlugAPIBase& framework;
    TessellaDuckworkSHM& registry;
    dsp::SpectralProcessor& engine;

    mutable AudioGate gate;
    mutable std::mutex mutex; ///< among the threads that hold the gate closed

    // Guarded by gate and mutex.
    state::Own kept;            ///< as a project keeps it, but for the switches: see bandOn
    std::uint32_t news = 0;     ///< parameters that the host has to hear of, a bit each
    std::uint32_t standIns = 0; ///< parameters that hold a stand-in, which the host never hears of
    Group bands, filters, controls;

    std::array<dsp::Relaxed<bool>, shm::kBandCount> bandOn = {true, true, true};
    /// What the ratio parameter of a band that the peer has switched off hides; 0: nothing. A band
    /// that is off shows the host ratio 1 until the next Flush.
    std::array<dsp::Relaxed<float>, shm::kBandCount> hiddenRatio{};
    dsp::Relaxed<bool> duckSelf = true;
    dsp::Relaxed<std::uint64_t> foreignBands = 0;
    std::atomic<unsigned> unpublished = 0; ///< of Unpublished
    dsp::Relaxed<int> latencySamples = 0;
    std::atomic<bool> dirty = false;
};
