/// The plug-in instance.
#pragma once

#include "dsp/Relaxed.h"
#include "dsp/SampleStream.h"
#include "dsp/SpectralAnalyzer.h"
#include "dsp/SpectralProcessor.h"
#include "plugin/IPlugCLAP.h"
#include "plugin/Parameters.h"
#include "shm/TessellaDuckworkSHM.h"

#include <array>
#include <atomic>
#include <cstdint>
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
    void* OpenWindow(void* parent) override;
    void CloseWindow() override;
    void OnParentWindowResize(int widthPx, int heightPx) override;
    bool ConstrainEditorResize(int& widthPx, int& heightPx) const override;

    // Parameters (TessellaDuckworkSync.cpp)
    using IPluginBase::OnParamChange;
    void OnParamChange(int index) override;

    // Processing (TessellaDuckworkProcess.cpp; OnReset: TessellaDuckwork.cpp)
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

    // Construction and heartbeat
    void PublishStartingSettings();
    void RunHeartbeat();

    // Parameters and registry
    [[nodiscard]] double Mirror(int index) const { return mirror[std::size_t(index)]; }
    void UpdateEnvelope();
    void PublishControls();
    bool TryPublishControls() noexcept;

    // One block, in this order
    struct BlockInput;
    [[nodiscard]] BlockInput ReadRegistry();
    void ApplyRegistryChanges(const BlockInput& input);
    void ApplyBands(const TessellaDuckworkSHM::TDAudioReadCycle& cycle);
    void SetFromRegistry(int index, double value, bool real);
    void PassThrough(const double* const* inputs, double* const* outputs, int nFrames);
    [[nodiscard]] WorkingValues Targets() const;
    void GlideWorkingValues(int nFrames);
    [[nodiscard]] dsp::FrameSettings Settings(bool peerValid) const;
    void MeasureLevels(bool peerValid);
    void Publish();
    void WriteAudioCycle(const float* bins, int count, bool writeBins) noexcept;
    [[nodiscard]] int PublishedBins() const;

    dsp::Relaxed<int> editorWidth = 960; ///< remembered editor size, pixels. [main, ui]
    dsp::Relaxed<int> editorHeight = 600;
    std::array<char, shm::kNameBytes> instanceName{}; ///< NUL-terminated. [main, ui]
    double hostSampleRate = 44100.0;                  ///< Hz. [main, in OnReset]
    dsp::Relaxed<bool> duckSelf = true;               ///< ducks against its peer. [main, audio, ui]

    dsp::SpectralProcessor processor; // its envelope times: [any]; all else: [audio], reset [main]
    std::array<dsp::Relaxed<double>, kNumParams> mirror; ///< parameter values. [any]
    WorkingValues working;                               ///< [audio], snapped in OnReset
    std::array<bool, dsp::kBandCount> bandEnabled = {true, true, true};

    // Meters, low, mid and high band
    std::array<dsp::Relaxed<float>, dsp::kBandCount> grSnapshot{};         ///< dB. [audio]
    std::array<float, dsp::kBandCount> ownLevel{}, peerLevel{}, grMeter{}; ///< [audio]

    dsp::SpectralAnalyzer analyzer;
    TessellaDuckworkSHM shm;
    std::atomic<TessellaDuckworkUI*> editor = nullptr; ///< null while closed. [main]

    std::array<float, dsp::kExchangedBins>
        peerBins{};            ///< the peer's spectrum of this block. [audio]
    int binPublishCounter = 0; ///< 0, 1, 2: every third block. [audio]

    // Per settings group of the own slot: the counter of the last write that was this instance's
    // own or has been applied to the engine (last), or taken into the parameters (seen). [any]
    dsp::Relaxed<std::uint64_t> lastBandsSeq, lastHpLpSeq, lastControlsSeq;
    dsp::Relaxed<std::uint64_t> seenBandsSeq, seenHpLpSeq, seenControlsSeq;
    /// The controls have changed here, but the registry was busy: to be published with a later
    /// block, and not to be overwritten from the registry before. [any]
    dsp::Relaxed<bool> controlsUnpublished = false;
    /// Parameters that hold stand-in values, a bit each, because the registry was busy while
    /// their group had changed. The host is not told of those. [audio]
    std::uint32_t standIns = 0;

    dsp::Relaxed<int> activeBandCount = 1; ///< 1 to 3. [main, audio, ui]

    std::atomic<bool> stopWorker = false;
    std::thread worker; ///< the heartbeat; last member: it uses the others
};
