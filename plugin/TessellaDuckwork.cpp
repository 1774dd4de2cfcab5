#include "plugin/TessellaDuckwork.h"

#include "adapter/EditorSize.h"
#include "plugin/Config.h"
#include "shm/Patience.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <mutex>

namespace {

/// Numbers the instances of this process for their default names; numbers are never reused.
std::atomic<int> sInstanceCounter = 0;

/// Sleeps 100 ms, also when signals interrupt it.
void sleepTick() {
    timespec left{.tv_sec = 0, .tv_nsec = 100'000'000};
    while (nanosleep(&left, &left) != 0) {
    }
}

} // namespace

TessellaDuckwork* MakePlug(const iplug::InstanceInfo& info) {
    static std::mutex sCreationMutex;
    const std::scoped_lock lock(sCreationMutex);
    return new TessellaDuckwork(info);
}

TessellaDuckwork::TessellaDuckwork(const iplug::InstanceInfo& info) : IPlugCLAP(info, kConfig) {
    for (const iplug::ParamSpec& row : kParamTable)
        AddParam(row);
    for (int index = 0; index < kNumParams; ++index)
        mirror[std::size_t(index)] = GetParam(index).Value();
    SnapWorkingValues();
    std::snprintf(instanceName.data(), instanceName.size(), "TessellaDuckwork #%d",
                  sInstanceCounter.fetch_add(1, std::memory_order_relaxed) + 1);
    (void)shm.Open(); // else the heartbeat tries again
    PublishStartingSettings();
    worker = std::thread([this] { RunHeartbeat(); });
}

TessellaDuckwork::~TessellaDuckwork() {
    stopWorker.store(true, std::memory_order_relaxed); // join orders the rest
    worker.join();
    CloseWindow(); // before the registry: the editor's thread uses it
    shm.Close();
}

void TessellaDuckwork::PublishStartingSettings() {
    const shm::Patience once;
    TakeName(instanceName);
    Republish();
    SetDuckSelf(duckSelf);
}

/// Touches the slot every 3 s, or tries to get one; ends within 100 ms of being told to.
void TessellaDuckwork::RunHeartbeat() {
    constexpr int kTicksBetweenTouches = 30;
    const auto stopped = [this] { return stopWorker.load(std::memory_order_relaxed); };
    while (!stopped()) {
        WithRegistry([this] {
            if (shm.OpenLater())
                shm.Touch();
        });
        for (int tick = 0; tick < kTicksBetweenTouches && !stopped(); ++tick)
            sleepTick();
    }
}

bool TessellaDuckwork::activate(double sampleRate, std::uint32_t minFrames,
                                std::uint32_t maxFrames) noexcept {
    const shm::Patience once; // for all that activation has to read and publish
    return IPlugCLAP::activate(sampleRate, minFrames, maxFrames);
}

void TessellaDuckwork::OnReset() {
    hostSampleRate = GetSampleRate();
    analyzer.retune(hostSampleRate);
    const auto transformSize = static_cast<int>(processor.reset(hostSampleRate));
    {
        const AudioGate::Closed closed(applyGate);
        NotePublished(Latency, false);
        WithRegistry([&] { NotePublished(Latency, shm.SetMyLatency(transformSize)); });
    }
    UpdateEnvelope();
    peerBins.fill(0.0F);
    shm.ForgetPeerSpectrum();
    SnapWorkingValues();
    levelsDue = spectrumDue = true;
}

void TessellaDuckwork::GetGainReduction(float& low, float& mid, float& high) const {
    low = grSnapshot[0];
    mid = grSnapshot[1];
    high = grSnapshot[2];
}

void TessellaDuckwork::SetInstanceName(const char* name) {
    if (name == nullptr)
        return;
    std::array<char, shm::kNameBytes> cut{};
    std::memcpy(cut.data(), name, strnlen(name, cut.size() - 1));
    const AudioGate::Closed closed(applyGate);
    TakeName(cut);
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
