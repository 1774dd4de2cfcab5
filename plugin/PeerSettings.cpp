#include "plugin/PeerSettings.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

std::string_view textOf(const char* name) { return {name, strnlen(name, shm::kNameBytes)}; }

bool sameName(const char* a, const shm::Name& b) { return textOf(a) == textOf(b.data()); }

/// Names that nobody has given: each process numbers its instances for itself, so in two projects
/// they are the same.
bool isDefaultName(const shm::Name& name) {
    constexpr std::string_view kNumbered = "TessellaDuckwork #";
    const std::string_view text = textOf(name.data());
    return text.starts_with(kNumbered) &&
           std::all_of(text.begin() + kNumbered.size(), text.end(),
                       [](unsigned char c) { return std::isdigit(c) != 0; });
}

bool hasWidth(const TDBand& band) { return band.hiHz > band.loHz; }

void setName(shm::Name& to, const char* from) {
    to.fill('\0');
    if (from != nullptr)
        std::memcpy(to.data(), from, strnlen(from, to.size() - 1));
}

/// The edges of bands beyond the count are none; their settings stay.
void takeBands(shm::BandSet& to, const shm::BandSet& from) {
    to.count = std::min(from.count, shm::kBandCount);
    for (int i = 0; i < shm::kBandCount; ++i)
        if (i < to.count)
            to[i] = from[i];
        else
            to[i].loHz = to[i].hiHz = 0.0F;
}

} // namespace

/// The living peer, and its name; 0 when there is none.
std::uint64_t PeerSettings::LinkedId(shm::Visit& visit, shm::Name& itsName) const {
    visit.SyncRemoteId();
    const std::uint64_t id = registry.RemoteId();
    return visit.ReadNameOf(id, itsName) ? id : 0;
}

void PeerSettings::Follow(shm::Visit& visit) {
    if (!visit)
        return;
    const std::scoped_lock lock(mutex);
    shm::Name itsName{};
    std::uint64_t id = LinkedId(visit, itsName);
    if (id == 0) {
        passedOver = 0;
        Relink(visit);
        id = LinkedId(visit, itsName);
    }
    if (id == 0)
        return;
    Settle(id, itsName);
    Apply(visit);
}

/// Pairs with the remembered peer, if it is there and has no other partner: taking it from a third
/// one is for the user's hand only. An instance of this process comes first; of another one only a
/// name that a user has given tells whom it is of.
void PeerSettings::Relink(shm::Visit& visit) {
    if (kept.name[0] == '\0' || !visit.GetActiveInstances(listing))
        return;
    for (const bool here : {true, false})
        for (const TDInstanceInfo& entry : listing)
            if (sameName(entry.name, kept.name) && visit.IsFree(entry.id) &&
                TessellaDuckworkSHM::IsOfThisProcess(entry.id) == here &&
                (here || !isDefaultName(kept.name))) {
                visit.SetRemoteId(entry.id);
                nameOf = entry.id;
                return;
            }
}

/// Under the name that it has now: also when the other side has made the link, or the peer has
/// been renamed since. But not where a state has just named another.
void PeerSettings::Settle(std::uint64_t id, const shm::Name& itsName) {
    if (id == nameOf || sameName(itsName.data(), kept.name)) {
        dirty |= !sameName(itsName.data(), kept.name);
        kept.name = itsName;
        nameOf = id;
    } else if (id != passedOver) {
        Adopt(id, itsName);
    }
}

/// Another peer than the remembered one: what was set on that is not for this one.
void PeerSettings::Adopt(std::uint64_t id, const shm::Name& itsName) {
    kept.settings = state::clearedPeer();
    kept.name = itsName;
    nameOf = id;
    passedOver = 0;
    dirty = true;
}

/// The record stays to be applied later when the linked peer is not its own. What the peer holds
/// already is not written again: to its owner that would be an edit, over more than the slot shows
/// (splits that the host has set, edges not chosen yet).
bool PeerSettings::Apply(shm::Visit& visit) {
    if (kept.settings.bands.count < 1 || applied || nameOf == 0 || nameOf != registry.RemoteId())
        return false;
    const shm::Settings now = ReadAll(visit);
    const auto& [bands, filters, controls] = kept.settings;
    const auto* const first = bands.bands.begin();
    const bool hasBands = std::any_of(first, first + bands.count, hasWidth);
    applied = (now.filters == filters || visit.WriteRemoteHpLp(filters) != 0) &&
              (now.controls == controls || visit.WriteRemoteControls(controls) != 0) &&
              (!hasBands || now.bands == bands || visit.WriteRemoteBands(bands) != 0);
    return applied;
}

shm::Settings PeerSettings::ReadAll(shm::Visit& visit) {
    shm::Settings read;
    visit.ReadRemoteBands(read.bands);
    visit.ReadRemoteHpLp(read.filters);
    visit.ReadRemoteControls(read.controls);
    return {.bands = read.bands.Usable(),
            .filters = shm::Usable(read.filters),
            .controls = shm::Usable(read.controls)};
}

shm::Settings PeerSettings::Read(shm::Visit& visit) {
    const std::scoped_lock lock(mutex);
    known = ReadAll(visit);
    knownOf = visit.HasPeer() ? registry.RemoteId() : 0;
    return known;
}

/// Every edit is remembered with all that the peer holds: a group left at its defaults would,
/// applied after a reload, reset what nobody had touched.
void PeerSettings::Edit(shm::Visit& visit, const shm::SettingsEdit& edit) {
    const std::scoped_lock lock(mutex);
    shm::Name itsName{};
    const std::uint64_t id = visit ? LinkedId(visit, itsName) : registry.RemoteId();
    if (id == 0 || (!visit && (id != knownOf || id != nameOf)))
        return; // no peer, or none that is known well enough to set only a part of it
    if (visit && id != nameOf) {
        passedOver = 0;
        Settle(id, itsName);
    }
    shm::Settings now = visit ? ReadAll(visit) : known;
    edit.ApplyTo(now.filters);
    edit.ApplyTo(now.controls);
    now.bands = edit.bands.value_or(now.bands).Usable();
    kept.settings.filters = now.filters;
    kept.settings.controls = now.controls;
    if (now.bands.count > 0)
        takeBands(kept.settings.bands, now.bands);
    kept.settings.bands.count = std::max(kept.settings.bands.count, 1);
    applied = visit && (!edit.bands || visit.WriteRemoteBands(now.bands) != 0) &&
              (!edit.HasFilters() || visit.WriteRemoteHpLp(now.filters) != 0) &&
              (!edit.HasControls() || visit.WriteRemoteControls(now.controls) != 0);
    known = now;
    dirty = true;
}

void PeerSettings::PairWith(shm::Visit& visit, const TDInstanceInfo& peer) {
    const bool another = peer.id != registry.RemoteId();
    visit.SetRemoteId(peer.id);
    const std::scoped_lock lock(mutex);
    if (another)
        kept.settings = state::clearedPeer();
    setName(kept.name, peer.name);
    nameOf = peer.id;
    passedOver = 0;
    dirty = true;
}

void PeerSettings::Refresh(shm::Visit& visit) {
    const std::scoped_lock lock(mutex);
    shm::Name itsName{};
    const std::uint64_t id = visit ? LinkedId(visit, itsName) : 0;
    if (id != 0)
        Settle(id, itsName);
    if (kept.settings.bands.count < 1 || !applied || id == 0 || id != nameOf)
        return;
    const shm::Settings now = ReadAll(visit);
    kept.settings.filters = now.filters;
    kept.settings.controls = now.controls;
    if (now.bands.count > 0)
        takeBands(kept.settings.bands, now.bands);
}

void PeerSettings::SetPersistedPeerName(const char* newName) {
    const std::scoped_lock lock(mutex);
    setName(kept.name, newName);
    nameOf = 0;
}

void PeerSettings::RecordShadowPeerBands(const TDBand* bands, int count) {
    if (bands == nullptr || count < 1) {
        ClearShadowPeer();
        return;
    }
    const std::scoped_lock lock(mutex);
    takeBands(kept.settings.bands, shm::SetOf(bands, count));
    applied = false;
}

// A record without bands counts as present all the same: with one band from 0 to 0 Hz, which is
// never written.
void PeerSettings::RecordShadowPeerHpLp(float hpHz, float lpHz) {
    const std::scoped_lock lock(mutex);
    kept.settings.filters = {.hpHz = hpHz, .lpHz = lpHz};
    kept.settings.bands.count = std::max(kept.settings.bands.count, 1);
    applied = false;
}

void PeerSettings::RecordShadowPeerControls(float attackMs, float releaseMs, float makeupDb) {
    const std::scoped_lock lock(mutex);
    kept.settings.controls = {.attackMs = attackMs, .releaseMs = releaseMs, .makeupDb = makeupDb};
    kept.settings.bands.count = std::max(kept.settings.bands.count, 1);
    applied = false;
}

void PeerSettings::ClearShadowPeer() {
    const std::scoped_lock lock(mutex);
    kept.settings = state::clearedPeer();
    applied = false;
}

bool PeerSettings::ApplyShadowPeerToSHM() {
    shm::PatientVisit visit(registry);
    const std::scoped_lock lock(mutex);
    shm::Name itsName{};
    const std::uint64_t id = visit ? LinkedId(visit, itsName) : 0;
    if (id != 0)
        Settle(id, itsName);
    return id != 0 && Apply(visit);
}

void PeerSettings::WriteTo(state::Record& record) const {
    const std::scoped_lock lock(mutex);
    record.peer = kept;
}

void PeerSettings::Load(const state::Reading& reading, const state::Record& record) {
    const std::scoped_lock lock(mutex);
    if (record.peer.name != kept.name) {
        nameOf = 0;
        passedOver = record.peer.name[0] != '\0' ? registry.RemoteId() : 0;
    }
    kept = record.peer;
    if (reading.hasPeer())
        applied = false;
}

bool PeerSettings::TakeDirty() {
    const std::scoped_lock lock(mutex);
    return std::exchange(dirty, false);
}
