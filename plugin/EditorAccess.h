/// What an editor sees of an instance and may change: the only way between the two.
#pragma once

#include "shm/TDRecords.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

/// What one visit to the registry has found for a frame. A frame that finds the registry busy
/// leaves it as the last one had it, but for what the instance knows by itself: `name`, `own`,
/// `ownBandsSeq` and `ownDuck` are always filled.
struct EditorView {
    bool registryOpen = false;
    const char* obstacle = nullptr; ///< to having it open, as shm::Explain says; null: none known

    // This side
    shm::Name name{};
    shm::Settings own;
    /// Steps when anybody but this editor has changed the bands: then those of `own` are news.
    std::uint64_t ownBandsSeq = 0;
    bool ownBypass = false, ownDuck = true;

    // The other side
    std::uint64_t peerId = 0; ///< linked with; 0: with nobody
    shm::Settings peer;       ///< as it stands in its slot, made usable; without bands: not there
    std::array<float, shm::kBandCount> peerReductionDb{};
    bool peerBypass = false, peerDuck = true;

    std::vector<TDInstanceInfo> instances; ///< that can be paired with, in slot order

    bool operator==(const EditorView&) const = default;
};

/// The peer's published magnitudes, as one visit has found them.
struct PeerSpectrum {
    bool read = false; ///< by this visit; else the magnitudes mean nothing
    std::array<float, shm::kAudioBinCount> magnitudes{};
};

/// Implemented by the instance, used by an editor's thread. All but the getters of sizes, sound and
/// parameters may wait for the registry, as long as the thread's LockBudget lets them. [ui]
class EditorAccess {
public:
    EditorAccess() = default;
    EditorAccess(const EditorAccess&) = delete;
    EditorAccess& operator=(const EditorAccess&) = delete;
    virtual ~EditorAccess() = default;

    // Parameters, in their own units; indices as in plugin/Parameters.h

    [[nodiscard]] virtual double ParamValue(int index) const = 0;
    /// Puts the value into the parameter's range; the instance takes it, the host is told.
    virtual void SetParam(int index, double value) = 0;

    // Both sides

    /// Once when the editor opens: takes in what others have set, so that `own` of the first
    /// FollowRegistry is complete, and publishes the bands as they are shown from now on.
    virtual void BeginEditing() = 0;
    /// Once a frame, one visit: publishes the display spectrum (dB), takes in and publishes
    /// settings, keeps the link with the remembered peer, fills the view and the peer's spectrum.
    /// Now and then dead slots are swept. False when the registry was closed or busy.
    virtual bool FollowRegistry(std::span<const float, shm::kDisplayBinCount> displayDb,
                                EditorView& view, PeerSpectrum& peerSpectrum) = 0;
    /// Sets this side: parameters, engine, registry, saved state; the host is told.
    virtual void EditOwn(const shm::SettingsEdit& edit) = 0;
    /// Sets the linked peer and remembers what it then holds. Nothing without one.
    virtual void EditPeer(const shm::SettingsEdit& edit) = 0;
    /// The user's choice of a peer.
    virtual void PairWith(const TDInstanceInfo& peer) = 0;
    virtual void SetInstanceName(const char* name) = 0; ///< at most 63 bytes
    virtual void ToggleOwnBypass() = 0;
    virtual void ToggleOwnDuck() = 0;
    virtual void TogglePeerBypass() = 0; ///< nothing without a peer, as the next
    virtual void TogglePeerDuck() = 0;

    // Sound

    struct SpectrumScale {
        float sampleRate; ///< Hz
        int fftSize;      ///< 0 before the first activation
    };
    [[nodiscard]] virtual SpectrumScale Scale() const = 0;
    /// Copies the magnitudes of the last frame, see SpectralProcessor::readMagnitude.
    virtual int ReadSpectrum(std::span<float> destination) const = 0;

    // The window's size, pixels

    /// The size to return to when the editor is opened again.
    [[nodiscard]] virtual int RememberedEditorWidth() const = 0;
    [[nodiscard]] virtual int RememberedEditorHeight() const = 0;
    virtual void RememberEditorSize(int widthPx, int heightPx) = 0;
    /// The view has this size; nobody is told.
    virtual void NoteEditorSize(int widthPx, int heightPx) = 0;
    /// The host's window has this size now, whatever was asked for.
    virtual void NoteHostWindowSize(int widthPx, int heightPx) = 0;
    /// Asks the host for a window of this size. It may call back before this returns.
    virtual void ResizeHostWindow(int widthPx, int heightPx) = 0;
};

/// An open editor as its instance sees it.
class Editor {
public:
    Editor() = default;
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;
    virtual ~Editor() = default; ///< closes it. [main]

    /// Own and peer's level (linear) and gain reduction (dB, 0 or negative) of three bands. [audio]
    virtual void SetMeters(const float* ownLevel, const float* peerLevel,
                           const float* reductionDb) = 0;
};

/// Opens an editor inside the host's window of this native id; its window appears, or fails to, on
/// a thread of its own. The instance outlives it. [main]
using MakeEditor = std::unique_ptr<Editor> (*)(EditorAccess& instance, std::uintptr_t parentWindow,
                                               int widthPx, int heightPx);
