#include "plugin/TessellaDuckwork.h"

#include "adapter/EditorSize.h"
#include "plugin/Config.h"
#include "shm/Visit.h"

#include <chrono>
#include <cstdio>
#include <cstring>

namespace {

/// Numbers the instances of this process for their default names; numbers are never reused.
std::atomic<int> sInstanceCounter = 0;

/// What waits for the registry longer than this would be noticed: enough for anybody but a dead or
/// stopped process.
constexpr int kBriefPauses = 5;

/// The first size that is one; the design's when none is.
editor::SizePx firstUsable(std::initializer_list<editor::SizePx> sizes) {
    for (const editor::SizePx size : sizes)
        if (size.width >= 1 && size.height >= 1)
            return size;
    return editor::kDesignSize;
}

} // namespace

TessellaDuckwork* MakePlug(const iplug::InstanceInfo& info, MakeEditor makeEditor) {
    static std::mutex sCreationMutex;
    const std::scoped_lock lock(sCreationMutex);
    return new TessellaDuckwork(info, makeEditor);
}

TessellaDuckwork::TessellaDuckwork(const iplug::InstanceInfo& info, MakeEditor editorMaker)
    : IPlugCLAP(info, kConfig,
                {dsp::usableKernels().front()->widen, dsp::usableKernels().front()->narrow}),
      makeEditor(editorMaker) {
    for (const iplug::ParamSpec& row : kParamTable)
        AddParam(row);
    SnapWorkingValues();
    shm::Name name{};
    std::snprintf(name.data(), name.size(), "TessellaDuckwork #%d",
                  sInstanceCounter.fetch_add(1, std::memory_order_relaxed) + 1);
    (void)shm.Open(); // else the heartbeat tries again
    const shm::LockBudget once;
    own.PublishAll();
    own.SetName(name);
    own.SetDuckSelf(true);
    (void)own.TakeDirty(); // that was no change
    worker = std::thread([this] { RunHeartbeat(); });
}

TessellaDuckwork::~TessellaDuckwork() {
    {
        const std::scoped_lock lock(sleepMutex); // no wake-up is missed
        goingOn.store(false, std::memory_order_relaxed);
    }
    wake.notify_all();
    worker.join();
    CloseWindow(); // before the registry: the editor's thread uses it
    shm.Close();
}

/// Shows life at once and every 3 s, until told to stop; ends at once then.
void TessellaDuckwork::RunHeartbeat() {
    constexpr std::chrono::seconds kBetweenBeats{3};
    ShowLife();
    std::unique_lock lock(sleepMutex);
    while (!wake.wait_for(lock, kBetweenBeats, [this] { return IsStopped(); })) {
        lock.unlock();
        ShowLife();
        LookAround();
        lock.lock();
    }
}

/// Or tries to get a slot.
void TessellaDuckwork::ShowLife() {
    if (shm.OpenLater())
        shm.Touch();
}

/// Sees to what neither blocks nor an editor may be there for.
void TessellaDuckwork::LookAround() {
    NoticeStandstill();
    {
        const shm::LockBudget brief(goingOn, kBriefPauses);
        const AudioGate::Closed closed = own.CloseGate();
        shm::PatientVisit visit(shm);
        visit.CleanDead();
        own.Sync(visit);
        own.PublishHostsFilters(visit);
        own.PublishHostsBands(visit);
        peer.Follow(visit);
    }
    own.TellHost();
    FlushParamsIfNeeded();
    TellHostWhatChanged();
}

/// An instance whose blocks have stopped would duck its peer with its last spectrum for ever.
void TessellaDuckwork::NoticeStandstill() {
    const unsigned now = blocks;
    beatsWithoutBlock = now == blocksAtBeat ? beatsWithoutBlock + 1 : 0;
    blocksAtBeat = now;
    if (beatsWithoutBlock != 2 || silenced)
        return;
    const shm::LockBudget brief(goingOn, kBriefPauses);
    own.PublishSilence();
    silenced = true; // afterwards: a block that comes in between publishes once more
}

void TessellaDuckwork::TellHostWhatChanged() {
    const bool ownChanged = own.TakeDirty();
    if (peer.TakeDirty() || ownChanged)
        MarkDirty();
}

// Hosting

bool TessellaDuckwork::activate(double sampleRate, std::uint32_t minFrames,
                                std::uint32_t maxFrames) noexcept {
    const shm::LockBudget once; // for all that activation has to read and publish
    return IPlugCLAP::activate(sampleRate, minFrames, maxFrames);
}

/// What others have set before is taken in first, as a block does: else a save would take it in
/// over the host's values.
void TessellaDuckwork::paramsFlush(const clap_input_events_t* in,
                                   const clap_output_events_t* out) noexcept {
    if (!isActive()) {
        const shm::LockBudget brief(kBriefPauses);
        FlushSHMToParams();
    }
    IPlugCLAP::paramsFlush(in, out);
}

void TessellaDuckwork::OnActivate(bool becomesActive) {
    if (becomesActive) {
        own.FlushSHMToParams();
        return;
    }
    const shm::LockBudget brief(kBriefPauses);
    own.PublishSilence();
    silenced = true;
}

void TessellaDuckwork::OnReset() {
    hostSampleRate = GetSampleRate();
    analyzer.retune(hostSampleRate);
    const auto transformSize = static_cast<int>(processor.reset(hostSampleRate));
    own.SetLatency(transformSize);
    own.UpdateEnvelope();
    OnClear();
}

/// The host wants the sound forgotten; settings stay.
void TessellaDuckwork::OnClear() {
    processor.clear();
    peerBins.fill(0.0F);
    shm.ForgetPeerSpectrum();
    SnapWorkingValues();
    peerHeard = false;
    levelsDue = spectrumDue = true;
}

void TessellaDuckwork::OnParamChange(int index) {
    if (index >= 0 && index < kNumParams)
        own.OnParamChange(index, OnAudioThread());
}

/// Announcing what has not changed, and a state that is published as a whole, need nothing here.
void TessellaDuckwork::OnParamChange(int index, iplug::ParamSource source, int /*sampleOffset*/) {
    if (source == iplug::ParamSource::Host)
        OnParamChange(index);
}

bool TessellaDuckwork::SerializeState(iplug::IByteChunk& chunk) {
    state::Record record;
    state::ParamValues params;
    {
        const shm::LockBudget once; // not for each part of it
        const AudioGate::Closed closed = own.CloseGate();
        shm::PatientVisit visit(shm);
        own.Flush(visit);
        peer.Refresh(visit);
        own.WriteTo(record, params);
        peer.WriteTo(record);
    }
    own.TellHost();
    record.editorWidthPx = static_cast<std::uint32_t>(GetEditorWidth());
    record.editorHeightPx = static_cast<std::uint32_t>(GetEditorHeight());
    state::write(chunk, record, params);
    return true;
}

/// The state is taken whole: no block's registry edit comes in between. What cannot be published
/// now is published later.
int TessellaDuckwork::UnserializeState(const iplug::IByteChunk& chunk, int start) {
    const shm::LockBudget once;
    const AudioGate::Closed closed = own.CloseGate();
    state::Record present;
    state::ParamValues presentParams;
    own.WriteTo(present, presentParams);
    peer.WriteTo(present);
    const state::Reading reading = state::read(chunk, start, present);
    const state::Record record = state::adopted(reading, present);
    own.Load(reading, record);
    peer.Load(reading, record);
    OnParamReset(iplug::ParamSource::PresetRecall);
    if (reading.result >= 0) {
        own.PublishAll();
        if (reading.hasSize())
            OnParentWindowResize(static_cast<int>(record.editorWidthPx),
                                 static_cast<int>(record.editorHeightPx));
    }
    shm::PatientVisit visit(shm);
    own.Sync(visit);
    peer.Follow(visit);
    return reading.result;
}

void* TessellaDuckwork::OpenWindow(void* parent) {
    CloseWindow();
    if (makeEditor == nullptr)
        return nullptr;
    {
        const shm::LockBudget brief(2); // nothing the host would notice
        FlushSHMToParams();
    }
    const editor::SizePx size =
        firstUsable({{editorWidth, editorHeight}, {GetEditorWidth(), GetEditorHeight()}});
    editor.store(
        makeEditor(*this, reinterpret_cast<std::uintptr_t>(parent), size.width, size.height)
            .release());
    return parent;
}

void TessellaDuckwork::CloseWindow() {
    SetEditorSize(editorWidth, editorHeight);
    const std::unique_ptr<Editor> closing(editor.exchange(nullptr));
    if (closing) {
        const AudioGate::Closed closed(editorGate); // the audio thread has let go of it
    }
}

void TessellaDuckwork::OnParentWindowResize(int widthPx, int heightPx) {
    if (widthPx < 1 || heightPx < 1)
        return;
    RememberEditorSize(widthPx, heightPx);
    SetEditorSize(widthPx, heightPx);
}

// Deliberate: these bounds are not those of the static configuration.
bool TessellaDuckwork::ConstrainEditorResize(int& widthPx, int& heightPx) const {
    const editor::SizePx asked{widthPx, heightPx};
    const editor::SizePx allowed = editor::constrained(asked);
    widthPx = allowed.width;
    heightPx = allowed.height;
    return allowed == asked;
}
