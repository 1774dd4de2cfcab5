/// The plug-in instance.
#pragma once

#include "dsp/Relaxed.h"
#include "dsp/SpectralAnalyzer.h"
#include "dsp/SpectralProcessor.h"
#include "plugin/AudioGate.h"
#include "adapter/IPlugCLAP.h"
#include "plugin/Parameters.h"
#include "plugin/ShadowPeer.h"
#include "plugin/StateChunk.h"
#include "shm/TessellaDuckworkSHM.h"

#include <boost/interprocess/exceptions.hpp>

#include <array>
#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <mutex>
#include <optional>
#include <span>
#include <thread>

class TessellaDuckwork;
class TessellaDuckworkUI;

/// Builds an instance; only one is built at a time, whatever threads hosts use. Passes on what the
/// constructor throws. [main]
TessellaDuckwork* MakePlug(const iplug::InstanceInfo& info);

/// One insertion of the plug-in. Owns the ducking engine, the handle on the machine-wide registry
/// and the heartbeat thread that keeps its slot alive.
///
/// Every member notes its writer threads. The registry is open from construction to destruction;
/// when it cannot be opened, everything but the pairing works all the same.
class alignas(64) TessellaDuckwork final : public iplug::IPlugCLAP {
public:
    explicit TessellaDuckwork(const iplug::InstanceInfo& info);
    ~TessellaDuckwork() override;

    /// Gain reduction of each band, dB, 0 or negative; lock-free. [any]
    void GetGainReduction(float& low, float& mid, float& high) const;

    /// Takes at most 63 bytes of the name and publishes it; null is ignored. [main, ui]
    void SetInstanceName(const char* name);

    // Editor (TessellaDuckworkEditor.cpp)

    /// Opens the editor in the X11 window with this id, cast to a pointer; an open one is closed
    /// first. Returns the parent. The window appears, or fails to, on the editor's own thread.
    void* OpenWindow(void* parent) override;
    void CloseWindow() override;
    void OnParentWindowResize(int widthPx, int heightPx) override;
    bool ConstrainEditorResize(int& widthPx, int& heightPx) const override;

    // What the editor sees and changes (TessellaDuckworkAccess.cpp), [ui] where not noted

    /// Runs operations on the registry. Its lock can be broken, by a foreign or dying process: that
    /// counts as a busy one, here and in the host. False then. [any]
    template <class Operations>
    static bool WithRegistry(Operations&& operations) noexcept try {
        operations();
        return true;
    } catch (const boost::interprocess::interprocess_exception&) {
        return false;
    }

    [[nodiscard]] TessellaDuckworkSHM& Registry() { return shm; }
    [[nodiscard]] std::array<char, shm::kNameBytes> InstanceName() const;
    [[nodiscard]] std::array<char, shm::kNameBytes> PersistedPeerName() const;
    /// The bands as a state would save them.
    struct SavedBands {
        int count;
        std::array<float, 6> edgesHz;
        std::array<bool, dsp::kBandCount> enabled;
    };
    [[nodiscard]] SavedBands Bands() const;
    /// Keeps blocks from applying registry edits while several settings are written. May wait for
    /// the block in progress.
    [[nodiscard]] AudioGate::Closed BeginOwnWrite() { return AudioGate::Closed(applyGate); }
    /// Publishes 1 to 3 bands and remembers their count and exact edges for the state. Returns
    /// their counter, 0 when the registry was closed or busy.
    std::uint64_t PublishBands(const std::array<TDBand, dsp::kBandCount>& bands, int count);
    void PublishHpLp();
    /// Once a frame: what others have set in the own slot, and no block has taken yet, goes into
    /// the parameters; filters that the host has changed go into the slot.
    void SyncOwnSettings();
    [[nodiscard]] bool DuckSelf() const { return duckSelf; }
    void SetDuckSelf(bool on);

    /// The spectrum of the last frame, see SpectralProcessor::readMagnitude, and its scale.
    struct SpectrumScale {
        float sampleRate; ///< Hz
        int fftSize;      ///< 0 before the first activation
    };
    [[nodiscard]] SpectrumScale Scale() const { return {processor.sampleRate, processor.fftSize}; }
    int ReadSpectrum(std::span<float> destination) const {
        return processor.readMagnitude(destination);
    }

    /// The editor's size to return to, pixels.
    [[nodiscard]] int RememberedEditorWidth() const { return editorWidth; }
    [[nodiscard]] int RememberedEditorHeight() const { return editorHeight; }
    void RememberEditorSize(int widthPx, int heightPx) {
        editorWidth = widthPx;
        editorHeight = heightPx;
    }

    // Parameters (TessellaDuckworkSync.cpp)
    using IPluginBase::OnParamChange;
    void OnParamChange(int index) override;
    /// Takes what others have written into the own slot since the last flush into the parameters,
    /// without telling the host; a busy registry leaves them as they are. [main]
    void FlushSHMToParams();

    // Remembered settings (TessellaDuckworkShadow.cpp), [main, ui]

    /// Switches processing of band 0, 1 or 2 on or off; other numbers are ignored.
    void SetBandEnabled(int band, bool on);
    /// At most 63 bytes of the name of the peer last paired with; null for none.
    void SetPersistedPeerName(const char* name);
    /// Low and high edge of band 1, 2, 3, Hz; six values.
    void SetPersistedBandFreqs(const float* edgesHz);
    // What this side has set on its peer. The record counts as not applied after each of these.
    void RecordShadowPeerBands(const TDBand* bands, int count); ///< none: clears the record
    void RecordShadowPeerHpLp(float hpHz, float lpHz);
    void RecordShadowPeerControls(float attackMs, float releaseMs, float makeupDb);
    void ClearShadowPeer();
    /// All that an edit of the peer leaves to be remembered. Groups without a value stay as
    /// recorded; `written` says that the peer has all of it, so that nothing is to be applied.
    struct PeerEdit {
        struct Bands {
            std::array<TDBand, dsp::kBandCount> bands;
            int count;
        };
        struct HpLp {
            float hpHz, lpHz;
        };
        struct Controls {
            float attackMs, releaseMs, makeupDb;
        };
        std::optional<Bands> bands;
        std::optional<HpLp> hpLp;
        std::optional<Controls> controls;
        bool written = false;
    };
    void RecordShadowPeer(const PeerEdit& edit);
    /// Writes the record to the linked peer, once. False when there is nothing to write, no peer
    /// is linked, or the registry is out of order.
    bool ApplyShadowPeerToSHM();

    // State (TessellaDuckworkState.cpp)
    bool SerializeState(iplug::IByteChunk& chunk) override;
    int UnserializeState(const iplug::IByteChunk& chunk, int start) override;

    // Processing (TessellaDuckworkProcess.cpp; activate, OnReset: TessellaDuckwork.cpp)
    bool activate(double sampleRate, std::uint32_t minFrames,
                  std::uint32_t maxFrames) noexcept override;
    void OnReset() override;
    void ProcessBlock(const double* const* inputs, double* const* outputs, int nFrames) override;

private:
    using BandValues = std::array<double, dsp::kBandCount>;

    /// The values that the engine works with, on their way to the parameters. [audio]
    struct WorkingValues {
        BandValues thresholdDb{};
        BandValues ratio{};
        double lowSplitHz = 0.0, highSplitHz = 0.0;
        double hpHz = 0.0, lpHz = 0.0;
        double makeupDb = 0.0;
    };

    /// Remembers the counter of an own write, so that it is not taken for a foreign edit. A write
    /// that failed has none: then the registry's old values must not look like news.
    static void RecordOwnWrite(dsp::Relaxed<std::uint64_t>& last, dsp::Relaxed<std::uint64_t>& seen,
                               std::uint64_t seq) {
        if (seq != 0)
            last = seen = seq;
    }

    /// The counter of a group that a block has applied. With real values the parameters have it
    /// too: a later flush must not put them back over what the host has set since.
    static void TakeCounter(dsp::Relaxed<std::uint64_t>& last, dsp::Relaxed<std::uint64_t>& seen,
                            std::uint64_t seq, bool real) {
        last = seq;
        if (real)
            seen = seq;
    }

    // Construction and heartbeat
    void PublishStartingSettings();
    void RunHeartbeat();

    // Parameters and registry
    [[nodiscard]] double Mirror(int index) const { return mirror[std::size_t(index)]; }
    void UpdateEnvelope();
    void PublishControls();
    void TryPublishControls();
    void TryPublishLeftOver();
    void OnActivate(bool becomesActive) override;
    void FlushBands();
    bool FlushHpLp();
    bool FlushControls();
    void FlushDuckSelf();
    void TellHost(std::initializer_list<int> params);

    bool WriteToPeer(const ShadowPeer& shadow);

    // State
    [[nodiscard]] state::Head HeadForState() const;
    void TakeHead(const state::Reading& reading);
    void TakeName(const std::array<char, shm::kNameBytes>& name);
    void TakeShadow(const state::Reading& reading);
    [[nodiscard]] std::array<TDBand, dsp::kBandCount> BandsToPublish(int count) const;
    void Republish();

    // One block, in this order
    struct BlockInput;
    [[nodiscard]] BlockInput TakeRegistryChanges();
    [[nodiscard]] BlockInput ReadRegistry();
    void ApplyRegistryChanges(const BlockInput& input);
    void ApplyBands(const TessellaDuckworkSHM::TDAudioReadCycle& cycle);
    void SetFromRegistry(int index, double value, bool real);
    void PassThrough(const double* const* inputs, double* const* outputs, int nFrames);
    [[nodiscard]] WorkingValues Targets() const;
    void SnapWorkingValues();
    void GlideWorkingValues(int nFrames);
    [[nodiscard]] dsp::FrameSettings Settings(bool peerValid) const;
    void MeasureLevels(const BlockInput& input, bool newFrame);
    void Publish(bool newFrame);
    void HandMetersToEditor(); // TessellaDuckworkEditor.cpp
    bool WriteAudioCycle(const float* bins, int count, bool writeBins);
    [[nodiscard]] int PublishedBins() const;

    dsp::Relaxed<int> editorWidth = 960; ///< remembered editor size, pixels. [main, ui]
    dsp::Relaxed<int> editorHeight = 600;
    double hostSampleRate = 44100.0;    ///< Hz. [main, in OnReset]
    dsp::Relaxed<bool> duckSelf = true; ///< ducks against its peer. [main, audio, ui]

    dsp::SpectralProcessor processor; // its envelope times: [any]; all else: [audio], reset [main]
    std::array<dsp::Relaxed<double>, kNumParams> mirror; ///< parameter values. [any]
    WorkingValues working;                               ///< [audio], snapped in OnReset
    float makeupGain = 1.0F;                             ///< of working.makeupDb, linear. [audio]
    int glideFrames = 0;                                 ///< the block size of glidePart. [audio]
    double glidePart = 0.0;                              ///< dsp::glideCoef of it. [audio]
    /// As processing reads it. [main, ui]
    std::array<dsp::Relaxed<bool>, dsp::kBandCount> bandEnabled = {true, true, true};

    // Meters, low, mid and high band
    std::array<dsp::Relaxed<float>, dsp::kBandCount> grSnapshot{};         ///< dB. [audio]
    std::array<float, dsp::kBandCount> ownLevel{}, peerLevel{}, grMeter{}; ///< [audio]

    dsp::SpectralAnalyzer analyzer;
    TessellaDuckworkSHM shm;
    std::atomic<TessellaDuckworkUI*> editor = nullptr; ///< null while closed. Set by [main]
    AudioGate editorGate; ///< closed while the editor goes away: the audio thread hands it meters

    std::array<float, dsp::kExchangedBins>
        peerBins{};            ///< the peer's spectrum of this block. [audio]
    int binPublishCounter = 0; ///< 0, 1, 2: every third block. [audio]

    // What no frame and no setting has changed is neither measured nor published again. [audio,
    // reset main]
    bool levelsDue = true;               ///< the levels are not those of these magnitudes
    bool peerLevelDue = true;            ///< the same of the peer's
    bool spectrumDue = true;             ///< the registry has not got the spectrum yet
    std::array<double, 2> levelSplits{}; ///< Hz, by which the levels were measured

    // Per settings group of the own slot: the counter of the last write that was this instance's
    // own or has been applied to the engine (last), or taken into the parameters (seen). [any]
    dsp::Relaxed<std::uint64_t> lastBandsSeq, lastHpLpSeq, lastControlsSeq;
    dsp::Relaxed<std::uint64_t> seenBandsSeq, seenHpLpSeq, seenControlsSeq;
    /// The controls have changed here, but the registry was busy: to be published with a later
    /// block, and not to be overwritten from the registry before. [any]
    dsp::Relaxed<bool> controlsUnpublished = false;
    /// What of the own slot, besides the controls, the registry has not got yet, because it was
    /// busy or closed.
    enum Unpublished : unsigned { Name = 1, BandSet = 2, Filters = 4, Priority = 8, Latency = 16 };
    /// The same as a set: published with a later block, and not overwritten from the registry
    /// before. Changes while applyGate is closed or passed. [any]
    std::atomic<unsigned> unpublished = 0;
    void NotePublished(Unpublished what, bool done) {
        if (done)
            unpublished.fetch_and(~unsigned{what}, std::memory_order_relaxed); // the gate orders
        else
            unpublished.fetch_or(what, std::memory_order_relaxed);
    }
    [[nodiscard]] bool IsUnpublished(Unpublished what) const {
        return (unpublished.load(std::memory_order_relaxed) & what) != 0;
    }
    /// Parameters that hold stand-in values, a bit each, because the registry was busy while
    /// their group had changed. The host is not told of those. [audio]
    std::uint32_t standIns = 0;

    /// Closed while another thread writes settings of this instance. Such a write has three parts:
    /// parameters, registry, counter recorded. The audio thread, which takes over any group whose
    /// counter is not the recorded one, must not see the middle of it: a state load of one band
    /// would come back as the splits that one band implies.
    AudioGate applyGate;

    dsp::Relaxed<int> activeBandCount = 1; ///< 1 to 3. [main, audio, ui]

    // What only the state and the editor know; never touched by the audio thread.
    mutable std::mutex persistedMutex; ///< guards the following, held for copies only. [main, ui]
    std::array<float, 6> persistedBandFreqs = {20.0F, 20000.0F}; ///< low, high of band 1, 2, 3, Hz
    std::array<bool, dsp::kBandCount> persistedBandEnabled = {true, true, true};
    std::array<char, shm::kNameBytes> persistedPeerName{};
    std::array<char, shm::kNameBytes> instanceName{}; ///< NUL-terminated
    ShadowPeer shadowPeer;

    std::atomic<bool> stopWorker = false;
    std::thread worker; ///< the heartbeat; last member: it uses the others
};
