#include "plugin/OwnSettings.h"

#include <algorithm>

OwnSettings::OwnSettings(iplug::IPlugAPIBase& ownerOfParams, TessellaDuckworkSHM& ownHandle,
                         dsp::SpectralProcessor& processor)
    : framework(ownerOfParams), registry(ownHandle), engine(processor) {}

shm::Name OwnSettings::InstanceName() const {
    const std::scoped_lock lock(mutex);
    return name;
}

shm::Settings OwnSettings::Now() const {
    const AudioGate::Closed closed(gate);
    const std::scoped_lock lock(mutex);
    return {.bands = BandsNow(),
            .filters = ValuesOf<shm::Filters>(HP),
            .controls = ValuesOf<shm::Controls>(Attack)};
}

template <class Values>
Values OwnSettings::ValuesOf(int firstParam) const {
    Values values;
    for (int i = 0; i < Values::kCount; ++i)
        values[i] = static_cast<float>(Value(firstParam + i));
    return values;
}

shm::BandSet OwnSettings::BandsNow() const {
    shm::BandSet set;
    set.count = bandCount;
    for (std::size_t i = 0; i < shm::kBandCount; ++i) {
        const float hidden = hiddenRatio[i];
        set.bands[i] = {.loHz = edgesHz[2 * i],
                        .hiHz = edgesHz[2 * i + 1],
                        .threshDb = static_cast<float>(Value(kThresholds[i])),
                        .ratio = hidden != 0.0F ? hidden : static_cast<float>(Value(kRatios[i])),
                        .enabled = bandOn[i]};
    }
    return set;
}

shm::BandSet OwnSettings::WithUsableEdges(shm::BandSet set) const {
    if (set.EdgesUsable())
        return set;
    const std::array<double, 4> splits = {20.0, set.count == 1 ? 20000.0 : Value(FreqLow),
                                          set.count == 2 ? 20000.0 : Value(FreqHigh), 20000.0};
    for (int i = 0; i < set.count; ++i) {
        set[i].loHz = static_cast<float>(splits[std::size_t(i)]);
        set[i].hiHz = static_cast<float>(splits[std::size_t(i) + 1]);
    }
    return set;
}

void OwnSettings::SetEdges(const shm::BandSet& set) {
    bandCount = set.count;
    edgesHz.fill(0.0F);
    for (int i = 0; i < set.count; ++i) {
        edgesHz[2 * std::size_t(i)] = set[i].loHz;
        edgesHz[2 * std::size_t(i) + 1] = set[i].hiHz;
    }
}

// Changes by this side

void OwnSettings::OnParamChange(int index, bool onAudioThread) {
    // What has been waited for in vain is not waited for again.
    const bool patient = controls.pending.load(std::memory_order_relaxed) == 0;
    NoteParamChange(index);
    if (!onAudioThread)
        PublishNow(patient);
}

void OwnSettings::NoteParamChange(int index) {
    if (index == Attack || index == Release)
        UpdateEnvelope();
    for (std::size_t band = 0; band < kRatios.size(); ++band)
        if (index == kRatios[band])
            hiddenRatio[band] = 0.0F;
    // Bands and filters are published by the editor and by a state load, not from here.
    if (index == Attack || index == Release || index == Makeup)
        controls.pending.fetch_or(1U << (index - Attack)); // after the value, see Publish
}

void OwnSettings::UpdateEnvelope() { engine.setTimes(Value(Attack), Value(Release)); }

void OwnSettings::Edit(const shm::SettingsEdit& edit) {
    std::uint32_t told = 0;
    {
        const AudioGate::Closed closed(gate);
        {
            const std::scoped_lock lock(mutex);
            if (edit.bands) {
                SetBands(edit.bands->Usable(BandsNow()));
                told |= (1U << Attack) - 1; // splits, thresholds and ratios stand ahead of it
            }
            for (int i = 0; i < shm::Filters::kCount; ++i)
                if (const auto& value = edit.filters[std::size_t(i)]) {
                    framework.GetParam(HP + i).Set(*value);
                    filters.pending.fetch_or(1U << i, std::memory_order_relaxed);
                    told |= 1U << (HP + i);
                }
            for (int i = 0; i < shm::Controls::kCount; ++i)
                if (const auto& value = edit.controls[std::size_t(i)]) {
                    framework.GetParam(Attack + i).Set(*value);
                    controls.pending.fetch_or(1U << i, std::memory_order_relaxed);
                    told |= 1U << (Attack + i);
                }
            if (edit.HasControls())
                UpdateEnvelope();
        }
        shm::PatientVisit visit(registry);
        const std::scoped_lock lock(mutex);
        Publish(visit);
    }
    for (int index = 0; index < kNumParams; ++index)
        if ((told & 1U << index) != 0)
            framework.InformHostOfParamChange(index,
                                              framework.GetParam(index).ToNormalized(Value(index)));
    TellHost();
}

/// Bands of the own editor. Those beyond the count are as the last one, so that they never differ
/// from the band they would be merged into.
void OwnSettings::SetBands(const shm::BandSet& set) {
    SetEdges(set);
    framework.GetParam(FreqLow).Set(set.count >= 2 ? set[0].hiHz : shm::kLowSplitHz.min);
    framework.GetParam(FreqHigh).Set(set.count >= 3 ? set[1].hiHz : shm::kHighSplitHz.max);
    for (int i = 0; i < shm::kBandCount; ++i) {
        const auto at = std::size_t(i);
        const TDBand& band = set.OrLast(i);
        framework.GetParam(kThresholds[at]).Set(band.threshDb);
        framework.GetParam(kRatios[at]).Set(band.ratio);
        hiddenRatio[at] = 0.0F;
        bandOn[at] = band.enabled;
    }
    bands.pending.store(kWhole, std::memory_order_relaxed);
}

void OwnSettings::SetName(const shm::Name& newName) {
    const AudioGate::Closed closed(gate);
    {
        const std::scoped_lock lock(mutex);
        name = newName;
        unpublished.fetch_or(Name, std::memory_order_relaxed);
    }
    NoteChange();
    PublishNow(true);
}

void OwnSettings::SetDuckSelf(bool on) {
    const AudioGate::Closed closed(gate);
    {
        const std::scoped_lock lock(mutex);
        duckSelf = on;
        unpublished.fetch_or(Priority, std::memory_order_relaxed);
    }
    NoteChange();
    PublishNow(true);
}

void OwnSettings::SetParam(int index, double value) {
    iplug::IParam& param = framework.GetParam(index);
    const AudioGate::Closed closed(gate);
    {
        const std::scoped_lock lock(mutex);
        param.Set(value);
        NoteParamChange(index);
    }
    PublishNow(true);
}

void OwnSettings::SetLatency(int samples) {
    latencySamples = samples;
    unpublished.fetch_or(Latency, std::memory_order_relaxed);
    PublishNow(true);
}

void OwnSettings::PublishSilence() {
    unpublished.fetch_or(Silence, std::memory_order_relaxed);
    PublishNow(true);
}

void OwnSettings::SetBandEnabled(int band, bool on) {
    if (band >= 0 && band < shm::kBandCount)
        bandOn[std::size_t(band)] = on;
}

void OwnSettings::SetPersistedBandFreqs(const float* sixEdgesHz) {
    const AudioGate::Closed closed(gate);
    const std::scoped_lock lock(mutex);
    std::copy_n(sixEdgesHz, edgesHz.size(), edgesHz.begin());
}

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
    const unsigned kept = group.pending.load(std::memory_order_relaxed);
    for (int i = 0; i < Values::kCount; ++i)
        if ((kept & 1U << i) == 0)
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
    publish(Name, [&] { return visit.SetDisplayName(name.data()); });
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

void OwnSettings::PublishHostsFilters(shm::Visit& visit) {
    const std::scoped_lock lock(mutex);
    shm::Filters published;
    if (visit.ReadOwnHpLp(published) == 0 || published == ValuesOf<shm::Filters>(HP))
        return;
    filters.pending.store(kWhole, std::memory_order_relaxed);
    Publish(visit);
}

// State

void OwnSettings::WriteTo(state::Record& record, state::ParamValues& params) const {
    const std::scoped_lock lock(mutex);
    record.instanceName = name;
    record.bands = BandsNow();
    for (int index = 0; index < kNumParams; ++index)
        params[std::size_t(index)] = Value(index);
}

void OwnSettings::Load(const state::Reading& reading, const state::Record& record) {
    const std::scoped_lock lock(mutex);
    if (record.instanceName != name)
        unpublished.fetch_or(Name, std::memory_order_relaxed);
    name = record.instanceName;
    bandCount = record.bands.count;
    for (std::size_t i = 0; i < shm::kBandCount; ++i) {
        edgesHz[2 * i] = record.bands.bands[i].loHz;
        edgesHz[2 * i + 1] = record.bands.bands[i].hiHz;
        bandOn[i] = record.bands.bands[i].enabled;
        if (reading.paramCount > kRatios[i])
            hiddenRatio[i] = 0.0F;
    }
    for (int index = 0; index < reading.paramCount; ++index)
        framework.GetParam(index).Set(reading.params[std::size_t(index)]);
    UpdateEnvelope();
    if (reading.duckSelf) {
        unpublished.fetch_or(Priority, std::memory_order_relaxed);
        duckSelf = *reading.duckSelf;
    }
    foreignBands = foreignBands + 1;
}

void OwnSettings::PublishAll() {
    for (Group* const group : {&bands, &filters, &controls})
        group->pending.store(kWhole, std::memory_order_relaxed);
}
