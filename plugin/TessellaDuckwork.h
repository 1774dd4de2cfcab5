/// The plug-in instance.
#pragma once

#include "adapter/IPlugCLAP.h"
#include "dsp/Relaxed.h"
#include "dsp/SpectralAnalyzer.h"
#include "dsp/SpectralProcessor.h"
#include "plugin/AudioGate.h"
#include "plugin/EditorAccess.h"
#include "plugin/OwnSettings.h"
#include "plugin/Parameters.h"
#include "plugin/PeerSettings.h"
#include "shm/TessellaDuckworkSHM.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <span>
#include <thread>

class TessellaDuckwork;

/// Builds an instance; only one is built at a time, whatever threads hosts use. Without a maker of
/// editors it has none. Passes on what the constructor throws. [main]
TessellaDuckwork* MakePlug(const iplug::InstanceInfo& info, MakeEditor makeEditor = nullptr);

/// One insertion of the plug-in: lifecycle, processing, hosting. Owns the ducking engine, the
/// handle on the machine-wide registry, the settings of both sides and the heartbeat thread that
/// keeps the slot alive.
///
/// Every member notes its writer threads. The registry is open from construction to destruction;
/// when it cannot be opened, everything but the pairing works all the same.
class alignas(64) TessellaDuckwork final : public iplug::IPlugCLAP, public EditorAccess {
public:
    TessellaDuckwork(const iplug::InstanceInfo& info, MakeEditor editorMaker);
    ~TessellaDuckwork() override;

    [[nodiscard]] TessellaDuckworkSHM& Registry() { return shm; }
    [[nodiscard]] OwnSettings& Own() { return own; }
    [[nodiscard]] PeerSettings& Peer() { return peer; }
    /// Gain reduction of each band, dB, 0 or negative; lock-free. [any]
    void GetGainReduction(float& low, float& mid, float& high) const;

    // Hosting (TessellaDuckwork.cpp)
    bool activate(double sampleRate, std::uint32_t minFrames,
                  std::uint32_t maxFrames) noexcept override;
    void paramsFlush(const clap_input_events_t* in,
                     const clap_output_events_t* out) noexcept override;
    void OnActivate(bool becomesActive) override;
    void OnReset() override;
    void OnClear() override;
    using IPluginBase::OnParamChange;
    void OnParamChange(int index) override;
    void OnParamChange(int index, iplug::ParamSource source, int sampleOffset) override;
    /// Takes over what others have set in the own slot; a busy registry leaves all as it is. [main]
    void FlushSHMToParams() { own.FlushSHMToParams(); }
    bool SerializeState(iplug::IByteChunk& chunk) override;
    int UnserializeState(const iplug::IByteChunk& chunk, int start) override;

    /// Opens the editor in the host's window of this native id, cast to a pointer; an open one is
    /// closed first. Returns the parent. The window appears, or fails to, on the editor's thread.
    void* OpenWindow(void* parent) override;
    void CloseWindow() override;
    void OnParentWindowResize(int widthPx, int heightPx) override;
    bool ConstrainEditorResize(int& widthPx, int& heightPx) const override;

    // What the editor sees and changes (TessellaDuckworkEditor.cpp)
    [[nodiscard]] double ParamValue(int index) const override { return own.Value(index); }
    void SetParam(int index, double value) override;
    void BeginEditing() override;
    bool FollowRegistry(std::span<const float, shm::kDisplayBinCount> displayDb, EditorView& view,
                        PeerSpectrum& peerSpectrum) override;
    void EditOwn(const shm::SettingsEdit& edit) override { own.Edit(edit); }
    void EditPeer(const shm::SettingsEdit& edit) override;
    void PairWith(const TDInstanceInfo& chosen) override;
    /// Takes at most 63 bytes of the name and publishes it; null is ignored. [main, ui]
    void SetInstanceName(const char* name) override;
    void ToggleOwnBypass() override;
    void ToggleOwnDuck() override;
    void TogglePeerBypass() override;
    void TogglePeerDuck() override;
    [[nodiscard]] SpectrumScale Scale() const override {
        return {processor.sampleRate, processor.fftSize};
    }
    int ReadSpectrum(std::span<float> destination) const override {
        return processor.readMagnitude(destination);
    }
    [[nodiscard]] int RememberedEditorWidth() const override { return editorWidth; }
    [[nodiscard]] int RememberedEditorHeight() const override { return editorHeight; }
    void RememberEditorSize(int widthPx, int heightPx) override;
    void NoteEditorSize(int widthPx, int heightPx) override { SetEditorSize(widthPx, heightPx); }
    void NoteHostWindowSize(int widthPx, int heightPx) override {
        IPlugCLAP::NoteHostWindowSize(widthPx, heightPx);
    }
    void ResizeHostWindow(int widthPx, int heightPx) override {
        EditorResizeFromUI(widthPx, heightPx, true);
    }

    // Processing (TessellaDuckworkProcess.cpp)
    clap_process_status process(const clap_process_t* block) noexcept override;
    void ProcessBlock(const double* const* inputs, double* const* outputs, int nFrames) override;

private:
    /// The values that the engine works with, on their way to the parameters. [audio]
    struct WorkingValues {
        dsp::ReductionSettings reduction;
        double makeupDb = 0.0;
    };

    void RunHeartbeat();
    void ShowLife();
    void LookAround();
    void NoticeStandstill();
    void TellHostWhatChanged();
    void FollowObstacle(EditorView& view);
    [[nodiscard]] bool IsStopped() const { return !goingOn.load(std::memory_order_relaxed); }

    // One block, in this order
    struct BlockInput;
    [[nodiscard]] BlockInput ReadRegistry();
    [[nodiscard]] BlockInput LookIntoRegistry();
    void ReadForNextBlock();
    void PassThrough(const double* const* inputs, double* const* outputs, int nFrames);
    [[nodiscard]] WorkingValues Targets() const;
    void SnapWorkingValues();
    void GlideWorkingValues(int nFrames);
    [[nodiscard]] dsp::FrameSettings Settings(bool peerValid) const;
    void MeasureLevels(const BlockInput& input, bool newFrame);
    void Publish(bool newFrame);
    void HandMetersToEditor();
    [[nodiscard]] int PublishedBins() const;

    const MakeEditor makeEditor;         ///< null: there are no editors
    dsp::Relaxed<int> editorWidth = 960; ///< remembered editor size, pixels. [main, ui]
    dsp::Relaxed<int> editorHeight = 600;
    double hostSampleRate = 44100.0; ///< Hz. [main, in OnReset]

    WorkingValues working;            ///< [audio], snapped in OnReset
    float makeupGain = 1.0F;          ///< of working.makeupDb, linear. [audio]
    int glideFrames = 0;              ///< the block size of glidePart. [audio]
    double glidePart = 0.0;           ///< dsp::glideCoef of it. [audio]
    bool settled = false;             ///< the last glide changed nothing more. [audio]
    unsigned settledChanges = 0;      ///< ParamChanges of the last glide. [audio]
    dsp::FrameSettings frameSettings; ///< of the last block that ran a frame. [audio]

    // Meters, low, mid and high band
    std::array<dsp::Relaxed<float>, dsp::kBandCount> grSnapshot{};         ///< dB. [audio]
    std::array<float, dsp::kBandCount> ownLevel{}, peerLevel{}, grMeter{}; ///< [audio]

    TessellaDuckworkSHM shm;
    OwnSettings own{*this, shm, processor};
    PeerSettings peer{shm};
    std::atomic<Editor*> editor = nullptr; ///< null while closed. Set by [main]
    AudioGate editorGate; ///< closed while the editor goes away: the audio thread hands it meters
    int framesToCleanup = 0; ///< [ui]; without a slot: to the next look for the reason

    bool peerHeard = false;    ///< the last block had it from the registry. [audio]
    int binPublishCounter = 0; ///< 0, 1, 2: every third block. [audio]

    // What no frame and no setting has changed is neither measured nor published again. [audio,
    // reset main]
    bool levelsDue = true;          ///< the levels are not those of these magnitudes
    bool peerLevelDue = true;       ///< the same of the peer's
    bool spectrumDue = true;        ///< the registry has not got the spectrum yet
    std::array<double, 2> splits{}; ///< Hz, by which the levels were measured
    unsigned levelChanges = ~0U;    ///< ParamChanges when the splits were read: never

    dsp::Relaxed<unsigned> blocks = 0;  ///< counts them. [audio]
    unsigned blocksAtBeat = 0;          ///< [heartbeat]
    int beatsWithoutBlock = 0;          ///< [heartbeat]
    std::atomic<bool> silenced = false; ///< the registry shows nothing of this side. [any]

    // All of the above that blocks touch lies together; what follows is large.
    dsp::SpectralProcessor processor; // its envelope times: [any]; all else: [audio], reset [main]
    dsp::SpectralAnalyzer analyzer;
    std::array<float, dsp::kExchangedBins> peerBins{}; ///< the peer's spectrum. [audio]

    std::atomic<bool> goingOn = true; ///< until the heartbeat is to end
    std::mutex sleepMutex; ///< held by the sleeping heartbeat's wait and by the destructor
    std::condition_variable wake;
    std::thread worker; ///< the heartbeat; last member: it uses the others
};
