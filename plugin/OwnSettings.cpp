#include "plugin/OwnSettings.h"

#include <algorithm>

OwnSettings::OwnSettings(iplug::IPlugAPIBase& ownerOfParams, TessellaDuckworkSHM& ownHandle,
                         dsp::SpectralProcessor& processor)
    : framework(ownerOfParams), registry(ownHandle), engine(processor) {
    SetEdges({.bands = {}, .count = 1}); // of the one band of a new instance
}

shm::Name OwnSettings::InstanceName() const {
    const std::scoped_lock lock(mutex);
    return kept.name;
}

shm::Settings OwnSettings::Now() const {
    const AudioGate::Closed closed(gate);
    const std::scoped_lock lock(mutex);
    return {.bands = BandsNow(),
            .filters = ValuesOf<shm::Filters>(HP),
            .controls = ValuesOf<shm::Controls>(Attack)};
}

shm::BandSet OwnSettings::BandsNow() const {
    shm::BandSet set = kept.bands;
    for (std::size_t i = 0; i < shm::kBandCount; ++i) {
        const float hidden = hiddenRatio[i];
        set.bands[i].threshDb = static_cast<float>(Value(kThresholds[i]));
        set.bands[i].ratio = hidden != 0.0F ? hidden : static_cast<float>(Value(kRatios[i]));
        set.bands[i].enabled = bandOn[i];
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

/// Bands beyond the count have none.
void OwnSettings::SetEdges(const shm::BandSet& set) {
    kept.bands.count = set.count;
    for (int i = 0; i < shm::kBandCount; ++i) {
        kept.bands[i].loHz = set.Has(i) ? set[i].loHz : 0.0F;
        kept.bands[i].hiHz = set.Has(i) ? set[i].hiHz : 0.0F;
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
            if (edit.bands)
                told |= SetBands(edit.bands->Usable(BandsNow()));
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
/// from the band they would be merged into. Returns the parameters that change, a bit each: an
/// editor that opens sets all of them to what they mostly are.
std::uint32_t OwnSettings::SetBands(const shm::BandSet& set) {
    std::uint32_t changed = 0;
    const auto change = [&](int index, double value) {
        iplug::IParam& param = framework.GetParam(index);
        const double before = param.Value();
        param.Set(value);
        changed |= param.Value() != before ? 1U << index : 0;
    };
    SetEdges(set);
    change(FreqLow, set.count >= 2 ? set[0].hiHz : shm::kLowSplitHz.min);
    change(FreqHigh, set.count >= 3 ? set[1].hiHz : shm::kHighSplitHz.max);
    for (int i = 0; i < shm::kBandCount; ++i) {
        const auto at = std::size_t(i);
        const TDBand& band = set.OrLast(i);
        change(kThresholds[at], band.threshDb);
        change(kRatios[at], band.ratio);
        hiddenRatio[at] = 0.0F;
        bandOn[at] = band.enabled;
    }
    bands.pending.store(kWhole, std::memory_order_relaxed);
    return changed;
}

void OwnSettings::SetName(const shm::Name& newName) {
    const AudioGate::Closed closed(gate);
    {
        const std::scoped_lock lock(mutex);
        kept.name = newName;
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
    for (std::size_t i = 0; i < shm::kBandCount; ++i) {
        kept.bands.bands[i].loHz = sixEdgesHz[2 * i];
        kept.bands.bands[i].hiHz = sixEdgesHz[2 * i + 1];
    }
}

// State

void OwnSettings::WriteTo(state::Record& record, state::ParamValues& params) const {
    const std::scoped_lock lock(mutex);
    record.own = kept;
    record.own.bands = BandsNow();
    record.duckSelf = duckSelf ? 1 : 0;
    for (int index = 0; index < kNumParams; ++index)
        params[std::size_t(index)] = Value(index);
}

void OwnSettings::Load(const state::Reading& reading, const state::Record& record) {
    const std::scoped_lock lock(mutex);
    if (record.own.name != kept.name)
        unpublished.fetch_or(Name, std::memory_order_relaxed);
    kept = record.own;
    for (std::size_t i = 0; i < shm::kBandCount; ++i) {
        bandOn[i] = kept.bands.bands[i].enabled;
        if (reading.paramCount > kRatios[i])
            hiddenRatio[i] = 0.0F;
    }
    for (int index = 0; index < reading.paramCount; ++index)
        framework.GetParam(index).Set(reading.params[std::size_t(index)]);
    UpdateEnvelope();
    if (reading.hasDuckSelf()) {
        unpublished.fetch_or(Priority, std::memory_order_relaxed);
        duckSelf = record.duckSelf != 0;
    }
    foreignBands = foreignBands + 1;
}

void OwnSettings::PublishAll() {
    for (Group* const group : {&bands, &filters, &controls})
        group->pending.store(kWhole, std::memory_order_relaxed);
}
