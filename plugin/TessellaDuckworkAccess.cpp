// The editor's view of the instance.
#include "plugin/TessellaDuckwork.h"

std::array<char, shm::kNameBytes> TessellaDuckwork::InstanceName() const {
    const std::scoped_lock lock(persistedMutex);
    return instanceName;
}

std::array<char, shm::kNameBytes> TessellaDuckwork::PersistedPeerName() const {
    const std::scoped_lock lock(persistedMutex);
    return persistedPeerName;
}

TessellaDuckwork::SavedBands TessellaDuckwork::Bands() const {
    const std::scoped_lock lock(persistedMutex);
    return {
        .count = activeBandCount, .edgesHz = persistedBandFreqs, .enabled = persistedBandEnabled};
}

std::uint64_t TessellaDuckwork::PublishBands(const std::array<TDBand, dsp::kBandCount>& bands,
                                             int count) {
    std::array<float, 6> edgesHz{};
    for (std::size_t band = 0; band < std::size_t(count); ++band) {
        edgesHz[2 * band] = bands[band].loHz;
        edgesHz[2 * band + 1] = bands[band].hiHz;
    }
    const AudioGate::Closed closed(applyGate);
    activeBandCount = count;
    SetPersistedBandFreqs(edgesHz.data());

    std::uint64_t seq = 0;
    WithRegistry([&] { seq = shm.WriteBands(bands.data(), count); });
    RecordOwnWrite(lastBandsSeq, seenBandsSeq, seq);
    NotePublished(BandSet, seq != 0);
    return seq;
}

void TessellaDuckwork::PublishHpLp() {
    const AudioGate::Closed closed(applyGate);
    std::uint64_t seq = 0;
    WithRegistry([&] {
        seq = shm.WriteHpLp(static_cast<float>(GetParam(HP).Value()),
                            static_cast<float>(GetParam(LP).Value()));
    });
    RecordOwnWrite(lastHpLpSeq, seenHpLpSeq, seq);
    NotePublished(Filters, seq != 0);
}

// Only what differs is written: a write with every frame would run over an edit of the peer that
// comes between the read and the write.
void TessellaDuckwork::SyncOwnSettings() {
    const AudioGate::Closed closed(applyGate);
    WithRegistry([this] {
        if (FlushHpLp()) {
            lastHpLpSeq = std::uint64_t{seenHpLpSeq};
            mirror[HP] = GetParam(HP).Value();
            mirror[LP] = GetParam(LP).Value();
            TellHost({HP, LP});
        }
        if (FlushControls())
            TellHost({Attack, Release, Makeup});
        FlushDuckSelf();

        float hpHz = 0.0F;
        float lpHz = 0.0F;
        const bool readable = shm.ReadOwnHpLp(hpHz, lpHz) != 0;
        const bool published = hpHz == static_cast<float>(GetParam(HP).Value()) &&
                               lpHz == static_cast<float>(GetParam(LP).Value());
        if (readable && !published)
            PublishHpLp();
    });
}

void TessellaDuckwork::TellHost(std::initializer_list<int> params) {
    for (const int index : params)
        InformHostOfParamChange(index, GetParam(index).ToNormalized(GetParam(index).Value()));
}

void TessellaDuckwork::SetDuckSelf(bool on) {
    const AudioGate::Closed closed(applyGate);
    bool done = false;
    WithRegistry([&] { done = shm.PublishDuckSelf(on); });
    duckSelf = on; // afterwards, or a save on another thread would take the flag before it
    NotePublished(Priority, done);
}
