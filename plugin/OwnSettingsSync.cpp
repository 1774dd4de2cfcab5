// How the own settings and the registry keep in step: taking in, publishing.
#include "plugin/OwnSettings.h"

#include <optional>
#include <utility>

// Taking in

/// The one way in for a foreign edit of the bands. The engine's splits, thresholds and ratios come
/// of it: with fewer than three bands the last one's values fill the rest, and a band that is off
/// shows ratio 1.
void OwnSettings::Take(const shm::BandSet& set, std::uint64_t seq) {
    bands.Know(seq);
    const shm::BandSet before = BandsNow();
    const shm::BandSet usable = set.Usable(before);
    SetEdges(usable);
    SetFromRegistry(FreqLow, usable.count >= 2 ? usable[0].hiHz : shm::kLowSplitHz.min, true);
    SetFromRegistry(FreqHigh, usable.count >= 3 ? usable[1].hiHz : shm::kHighSplitHz.max, true);
    for (int i = 0; i < shm::kBandCount; ++i) {
        const auto at = std::size_t(i);
        const TDBand& band = usable.OrLast(i);
        SetFromRegistry(kThresholds[at], band.threshDb, true);
        SetFromRegistry(kRatios[at], band.enabled ? band.ratio : shm::kRatio.min, true);
        hiddenRatio[at] = band.enabled ? 0.0F : band.ratio;
        bandOn[at] = band.enabled;
    }
    foreignBands = foreignBands + 1;
    if (BandsNow() != before)
        NoteChange();
}

/// The same for filters and controls. Members that this side has still to publish stay. Deliberate:
/// a busy registry whose values are not known stands in with the defaults, and nobody is told.
template <class Values>
void OwnSettings::Take(Group& group, int firstParam, const Values& values, std::uint64_t seq,
                       bool real) {
    group.last = seq;
    if (real)
        group.seen = seq;
    const unsigned own = group.pending.load(std::memory_order_relaxed);
    for (int i = 0; i < Values::kCount; ++i)
        if ((own & 1U << i) == 0)
            SetFromRegistry(firstParam + i, values[i], real);
}

void OwnSettings::TakePriority() {
    const std::optional<bool> wanted = registry.ReadMyDuckSelf();
    if ((unpublished.load(std::memory_order_relaxed) & Priority) != 0 || !wanted ||
        *wanted == duckSelf)
        return;
    duckSelf = *wanted;
    NoteChange();
}

/// Sets a parameter, constrained. The host is to hear of a real change; never of a stand-in, which
/// the next reading replaces.
void OwnSettings::SetFromRegistry(int index, double value, bool real) {
    iplug::IParam& param = framework.GetParam(index);
    const double before = param.Value();
    param.Set(value);
    const std::uint32_t bit = 1U << index;
    const bool hostIsBehind = param.Value() != before || (standIns & bit) != 0;
    if (hostIsBehind && real) {
        news |= bit;
        NoteChange();
    }
    standIns = hostIsBehind && !real ? standIns | bit : standIns & ~bit;
}

void OwnSettings::Sync(shm::Visit& visit) {
    const std::scoped_lock lock(mutex);
    shm::Settings now;
    const auto isNews = [](const Group& group, std::uint64_t seq) {
        return seq != 0 && seq != group.seen;
    };
    const std::uint64_t bandsSeq = visit.ReadOwnBands(now.bands);
    if (isNews(bands, bandsSeq) && now.bands.count > 0 &&
        bands.pending.load(std::memory_order_relaxed) == 0)
        Take(now.bands, bandsSeq);
    if (const auto seq = visit.ReadOwnHpLp(now.filters); isNews(filters, seq))
        Take(filters, HP, now.filters, seq, true);
    if (const auto seq = visit.ReadOwnControls(now.controls); isNews(controls, seq)) {
        Take(controls, Attack, now.controls, seq, true);
        UpdateEnvelope();
    }
    TakePriority();
    Publish(visit);
}

void OwnSettings::PublishHostsFilters(shm::Visit& visit) {
    const std::scoped_lock lock(mutex);
    shm::Filters published;
    if (visit.ReadOwnHpLp(published) == 0 || published == ValuesOf<shm::Filters>(HP))
        return;
    filters.pending.store(kWhole, std::memory_order_relaxed);
    Publish(visit);
}

void OwnSettings::PublishHostsBands(shm::Visit& visit) {
    const std::scoped_lock lock(mutex);
    shm::BandSet published;
    if (visit.ReadOwnBands(published) == 0 || published == WithUsableEdges(BandsNow()))
        return;
    bands.pending.store(kWhole, std::memory_order_relaxed);
    Publish(visit);
}

void OwnSettings::TellHost() {
    std::uint32_t mask = 0;
    {
        const AudioGate::Closed closed(gate);
        const std::scoped_lock lock(mutex);
        mask = std::exchange(news, 0U);
    }
    if (mask == 0)
        return;
    framework.InformHostOfValues(mask);
    framework.FlushParamsIfNeeded();
}

void OwnSettings::FlushSHMToParams() {
    if (!registry.Opened())
        return;
    {
        const AudioGate::Closed closed(gate);
        shm::PatientVisit visit(registry);
        Flush(visit);
    }
    TellHost();
}

void OwnSettings::Flush(shm::Visit& visit) {
    Sync(visit);
    PublishHostsFilters(visit);
    PublishHostsBands(visit);
    const std::scoped_lock lock(mutex);
    for (std::size_t band = 0; band < shm::kBandCount; ++band)
        if (const float ratio = hiddenRatio[band]; ratio != 0.0F) {
            SetFromRegistry(kRatios[band], ratio, true);
            hiddenRatio[band] = 0.0F;
        }
}

bool OwnSettings::ReadAndSyncInBlock(TessellaDuckworkSHM::TDAudioReadCycle& cycle,
                                     std::span<float> peerBins) {
    const AudioGate::Pass pass(gate); // also while reading: the counters are those of now
    const bool complete =
        registry.ReadAudioCycle(bands.last, filters.last, controls.last, cycle, peerBins.data(),
                                static_cast<int>(peerBins.size()));
    if (!pass)
        return complete;
    TakeInBlock(cycle, complete);
    if (AnythingPending()) {
        shm::TryVisit visit(registry);
        Publish(visit);
    }
    if (news != 0)
        framework.InformHostOfValues(std::exchange(news, 0U));
    return complete;
}

void OwnSettings::TakeInBlock(const TessellaDuckworkSHM::TDAudioReadCycle& cycle, bool complete) {
    if (!cycle.bypass)
        TakePriority();
    if (cycle.bandsChanged && cycle.bandCount > 0 &&
        bands.pending.load(std::memory_order_relaxed) == 0)
        Take(shm::SetOf(cycle.bands, cycle.bandCount), cycle.bandsSeq);
    const auto stands = [complete](const Group& group) {
        return complete || group.pending.load(std::memory_order_relaxed) == 0;
    };
    if (cycle.hpLpChanged && stands(filters))
        Take(filters, HP, shm::Filters{.hpHz = cycle.hpHz, .lpHz = cycle.lpHz}, cycle.hpLpSeq,
             complete);
    if (cycle.controlsChanged && stands(controls)) {
        Take(controls, Attack,
             shm::Controls{.attackMs = cycle.controls[0],
                           .releaseMs = cycle.controls[1],
                           .makeupDb = cycle.controls[2]},
             cycle.controlsSeq, complete);
        UpdateEnvelope();
    }
}

// Publishing

bool OwnSettings::AnythingPending() const {
    // Relaxed: what is missed now is seen by the next block.
    return registry.Opened() && (unpublished.load(std::memory_order_relaxed) |
                                 bands.pending.load(std::memory_order_relaxed) |
                                 filters.pending.load(std::memory_order_relaxed) |
                                 controls.pending.load(std::memory_order_relaxed)) != 0;
}

/// What the registry has not got yet. Without the lock nothing changes: a later visit does it.
void OwnSettings::Publish(shm::Visit& visit) {
    if (!visit)
        return;
    const auto publish = [&](Unpublished what, auto&& operation) {
        if ((unpublished.load(std::memory_order_relaxed) & what) != 0 && operation())
            unpublished.fetch_and(~unsigned{what}, std::memory_order_relaxed); // the gate orders
    };
    publish(Name, [&] { return visit.SetDisplayName(kept.name.data()); });
    publish(Priority, [&] { return visit.PublishDuckSelf(duckSelf); });
    publish(Latency, [&] { return visit.SetMyLatency(latencySamples); });
    publish(Silence, [&] { return visit.PublishSilence(); });
    if (bands.pending.load(std::memory_order_relaxed) != 0)
        if (const std::uint64_t seq = visit.WriteBands(WithUsableEdges(BandsNow())); seq != 0) {
            bands.Know(seq);
            bands.pending.store(0, std::memory_order_relaxed);
        }
    Publish(filters, HP, visit, &shm::Visit::ReadOwnHpLp, &shm::Visit::WriteHpLp);
    Publish(controls, Attack, visit, &shm::Visit::ReadOwnControls, &shm::Visit::WriteControls);
}

/// One member of a group changes; the others are as the registry has them by then.
template <class Values>
void OwnSettings::Publish(Group& group, int firstParam, shm::Visit& visit,
                          std::uint64_t (shm::Visit::*read)(Values&) const,
                          std::uint64_t (shm::Visit::*write)(const Values&)) {
    if (group.pending.load(std::memory_order_relaxed) == 0)
        return;
    Values theirs;
    if (const std::uint64_t seq = (visit.*read)(theirs); seq != 0 && seq != group.seen) {
        Take(group, firstParam, theirs, seq, true);
        UpdateEnvelope();
    }
    // Before the values are read: a block that sets one meanwhile marks it once more.
    const unsigned members = group.pending.exchange(0);
    if (const std::uint64_t seq = (visit.*write)(ValuesOf<Values>(firstParam)); seq != 0)
        group.Know(seq);
    else
        group.pending.fetch_or(members, std::memory_order_relaxed);
}

/// Nothing is waited for where nothing is left to publish.
void OwnSettings::PublishNow(bool patient) {
    if (!AnythingPending())
        return;
    const auto publish = [this](auto&& visit) {
        const std::scoped_lock lock(mutex);
        Publish(visit);
    };
    {
        const AudioGate::Closed closed(gate);
        if (patient)
            publish(shm::PatientVisit(registry));
        else
            publish(shm::TryVisit(registry));
    }
    TellHost();
}
