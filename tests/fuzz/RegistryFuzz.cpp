/// Instances that come, go, fall silent, pair and edit in any order, within the registry's rules.
#include "shm/Slot.h"
#include "shm/TessellaDuckworkSHM.h"
#include "tests/fuzz/Fuzz.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

using fuzz::demand;

/// A handle, and what it must be like.
struct Instance {
    TessellaDuckworkSHM handle;
    bool swept = false; ///< has lost its slot
    bool loose = false; ///< its partner was not there, or has gone since
    std::uint64_t filtersSeq = 0;
    float hpHz = 0.0F;
    float bin = 0.0F; ///< that it has published; NaN: who knows
    std::array<float, shm::kAudioBinCount> peerBins{};

    [[nodiscard]] bool holds() const { return handle.Opened() && !swept; }
};

class Registry {
public:
    void step(fuzz::Bytes& bytes);
    void check();

private:
    Instance* holderOf(std::uint64_t id) {
        const auto found = std::ranges::find_if(
            all, [id](const Instance& one) { return one.holds() && one.handle.MyId() == id; });
        return found != all.end() ? &*found : nullptr;
    }
    void open(Instance& one);
    void leave(Instance& one);
    void sweep(Instance& one, Instance& sweeper);
    void beat(Instance& one);
    void pair(Instance& one, Instance& other);
    void editFilters(Instance& editor, bool peers, float hpHz);
    void play(Instance& one, fuzz::Bytes& bytes);

    std::array<Instance, 18> all; // for sixteen slots
};

void Registry::leave(Instance& one) {
    for (Instance& other : all)
        other.loose |= other.handle.RemoteId() == one.handle.MyId();
}

void Registry::open(Instance& one) {
    leave(one);
    one.handle.Close();
    const bool room = std::ranges::count_if(all, &Instance::holds) < shm::kSlotCount;
    one.swept = one.loose = false;
    one.filtersSeq = 0;
    one.bin = 0.0F;
    demand(one.handle.Open() == room, "who finds a free slot gets in");
}

void Registry::sweep(Instance& one, Instance& sweeper) {
    if (&one == &sweeper || !one.holds() || !sweeper.holds())
        return;
    for (const fuzz::MappedRegistry registry; shm::RegistrySlot & slot : registry->slots)
        if (shm::OwnerOf(slot) == one.handle.MyId())
            slot.heartbeat = 0;
    sweeper.handle.CleanDead();
    leave(one);
    one.swept = one.loose = true;
    one.bin = NAN;
}

/// A swept instance comes back if there is room, with its settings.
void Registry::beat(Instance& one) {
    const bool room = std::ranges::count_if(all, &Instance::holds) < shm::kSlotCount;
    one.handle.Touch();
    if (!one.handle.Opened() || !one.swept || !room)
        return;
    one.swept = false;
    float lpHz = 0.0F;
    one.filtersSeq = one.handle.ReadOwnHpLp(one.hpHz, lpHz);
}

void Registry::pair(Instance& one, Instance& other) {
    const std::uint64_t id = &one == &other ? 0 : other.handle.MyId();
    one.handle.SetRemoteId(id);
    demand(one.handle.RemoteId() == id, "the choice counts at once");
    one.loose = !one.holds() || (id != 0 && !other.holds());
    if (id == 0)
        return;
    other.loose |= one.loose;
    if (one.loose)
        return;
    other.loose = false;
    other.handle.SyncRemoteId();
    demand(other.handle.RemoteId() == one.handle.MyId(), "the other side hears of it");
}

void Registry::editFilters(Instance& editor, bool peers, float hpHz) {
    Instance* const target = peers ? holderOf(editor.handle.RemoteId()) : &editor;
    const std::uint64_t seq =
        peers ? editor.handle.WriteRemoteHpLp(hpHz, 999.0F) : editor.handle.WriteHpLp(hpHz, 999.0F);
    // One that has lost its slot still reaches its peer's.
    demand(!editor.holds() || (seq != 0) == (target != nullptr), "who is there can be edited");
    if (seq == 0 || target == nullptr || !target->holds())
        return;
    demand(seq == ++target->filtersSeq, "every write is one step");
    target->hpHz = hpHz;
}

void Registry::play(Instance& one, fuzz::Bytes& bytes) {
    constexpr std::array<float, 3> kMeters{};
    std::array<float, shm::kAudioBinCount + 9> bins;
    bins.fill(bytes.any<std::uint8_t>());
    if (!one.holds())
        return;
    const int count = bytes.between(-1, int(bins.size()));
    const bool all1024 = bytes.flip();
    demand(one.handle.WriteAudioCycle(kMeters.data(), kMeters.data(), bins.data(), count, all1024),
           "a free registry takes every block");
    if (all1024 && count > 0)
        one.bin = bins[0];
    TessellaDuckworkSHM::TDAudioReadCycle cycle;
    demand(one.handle.ReadAudioCycle(0, one.filtersSeq, 0, cycle, one.peerBins.data(),
                                     bytes.between(1, shm::kAudioBinCount)),
           "a free registry is read by every block");
    demand(!cycle.hpLpChanged, "the filters are as last seen");
    demand(cycle.bandCount >= 0 && cycle.bandCount <= 3, "up to three bands");
    const Instance* const peer = holderOf(one.handle.RemoteId());
    demand(cycle.audioValid == (peer != nullptr), "who is there is heard");
    demand(!peer || peer->bin != peer->bin || one.peerBins[0] == peer->bin, "at its latest");
}

void nameAndBands(Instance& one, fuzz::Bytes& bytes) {
    one.handle.SetDisplayName(bytes.text(100).c_str());
    const TDBand band{
        .loHz = bytes.any<float>(), .hiHz = 0, .threshDb = 0, .ratio = 0, .enabled = true};
    const TDBand bands[] = {band, band, band};
    const int n = bytes.between(-3, 9), most = bytes.between(-1, 5);
    TDBand read[3];
    int count = -1;
    const bool written = one.handle.WriteBands(bands, n) != 0;
    one.handle.ReadOwnBands(read, count, most);
    demand(count == (written ? std::clamp(std::min(n, most), 0, 3) : 0), "as many bands as fit");
    demand(std::memcmp(read, bands, sizeof band * std::size_t(count)) == 0, "they are the same");
}

void Registry::step(fuzz::Bytes& bytes) {
    Instance& one = all[bytes.below(18)];
    Instance& other = all[bytes.below(18)];
    switch (bytes.below(9)) {
    case 0:
    case 1:
        return open(one);
    case 2:
        leave(one);
        one.swept = one.loose = false;
        return one.handle.Close();
    case 3:
        return sweep(one, other);
    case 4:
        return beat(one);
    case 5:
        return editFilters(one, bytes.flip(), bytes.any<float>());
    case 6:
        return play(one, bytes);
    case 7:
        return nameAndBands(one, bytes);
    default:
        return pair(one, other);
    }
}

void Registry::check() {
    const auto holders = std::ranges::count_if(all, &Instance::holds);
    if (holders == 0)
        return;
    const fuzz::MappedRegistry registry;
    std::vector<Instance*> owners;
    for (const shm::RegistrySlot& slot : registry->slots) {
        if (!shm::IsActive(slot))
            continue;
        Instance* const owner = holderOf(shm::OwnerOf(slot));
        demand(owner != nullptr && !std::ranges::count(owners, owner), "a slot has its instance");
        owners.push_back(owner);
        float hpHz = 0.0F, lpHz = 0.0F;
        demand(owner->handle.ReadOwnHpLp(hpHz, lpHz) == owner->filtersSeq, "no write is lost");
        demand(owner->filtersSeq == 0 || std::memcmp(&hpHz, &owner->hpHz, sizeof hpHz) == 0,
               "the last write counts");
        const Instance* const peer = holderOf(slot.remoteId);
        if (peer == nullptr || owner->loose)
            continue;
        const auto* const back = shm::FindSlot(*registry.operator->(), peer->handle.MyId());
        demand(back && back->remoteId == owner->handle.MyId(), "partners have each other");
    }
    demand(std::ssize(owners) == holders, "an instance has its slot");
    std::vector<TDInstanceInfo> listed;
    demand(owners[0]->handle.GetActiveInstances(listed) && std::ssize(listed) == holders - 1,
           "everybody sees all others");
    for (const TDInstanceInfo& info : listed)
        demand(std::memchr(info.name, 0, sizeof info.name) != nullptr, "names have an end");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Bytes bytes(data, size);
    Registry registry;
    for (int steps = 0; !bytes.empty() && steps < 64; ++steps) {
        registry.step(bytes);
        registry.check();
    }
    return 0;
}
