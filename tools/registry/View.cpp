#include "tools/registry/View.h"

#include "tools/common/Text.h"
#include "tools/registry/SignalsHeld.h"
#include "tools/registry/SlotOwner.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <nlohmann/json.hpp>

namespace registry {
namespace {

// Floats as such, which print as 0.1 and not as 0.10000000149011612.
using Json = nlohmann::basic_json<nlohmann::ordered_map, std::vector, std::string, bool,
                                  std::int64_t, std::uint64_t, float>;
using shm::SlotSnapshot;
using terminal::number;
using terminal::printable;

struct Process {
    pid_t pid = 0; ///< 0: unknown.
    std::string name;
};

Process processOf(const SlotSnapshot& slot) {
    Process process{findOwner(slot.id).value_or(0), ""};
    if (process.pid != 0)
        std::getline(std::ifstream("/proc/" + std::to_string(process.pid) + "/comm"), process.name);
    return process;
}

/// Seconds since the heartbeat, which may be any number of a foreign writer.
double age(const View& view, const SlotSnapshot& slot) {
    return static_cast<double>(view.now) - static_cast<double>(slot.heartbeat);
}

const SlotSnapshot* peerOf(const View& view, const SlotSnapshot& slot) {
    const auto peer = std::ranges::find_if(view.slots, [&slot](const SlotSnapshot& other) {
        return slot.remoteId != 0 && other.active && other.id == slot.remoteId;
    });
    return peer != view.slots.end() ? &*peer : nullptr;
}

std::string slotText(const SlotSnapshot& slot) { return "#" + std::to_string(slot.index); }

std::string processText(const SlotSnapshot& slot) {
    const Process process = processOf(slot);
    return process.pid == 0 ? "?"
                            : printable(process.name) + " (" + std::to_string(process.pid) + ")";
}

std::string peerText(const View& view, const SlotSnapshot& slot) {
    if (slot.remoteId == 0)
        return "-";
    const SlotSnapshot* peer = peerOf(view, slot);
    if (!peer)
        return "gone";
    return slotText(*peer) + (peer->remoteId == slot.id ? "" : " (one-sided)");
}

std::string bandText(const TDBand& band) {
    if (!band.enabled)
        return number(band.loHz) + "-" + number(band.hiHz) + " Hz off";
    return number(band.loHz) + "-" + number(band.hiHz) + " Hz " + number(band.threshDb) + " dB " +
           number(band.ratio) + ":1";
}

std::string flagsText(const SlotSnapshot& slot) {
    std::string text = slot.bypass ? "bypass " : "";
    text += slot.duckSelf ? "duck" : "";
    return text.empty() ? "-" : text;
}

constexpr std::size_t kColumns = 9;
using Row = std::array<std::string, kColumns>;

/// A line of the slot and one more for every further band.
void addRows(const View& view, const SlotSnapshot& slot, std::vector<Row>& rows) {
    rows.push_back({slotText(slot), printable(slot.name), processText(slot),
                    number(age(view, slot)) + " s", peerText(view, slot),
                    slot.bandCount > 0 ? bandText(slot.bands[0]) : "-",
                    number(slot.hpHz) + "-" + number(slot.lpHz) + " Hz",
                    number(slot.attackMs) + "/" + number(slot.releaseMs) + " ms " +
                        number(slot.makeupDb) + " dB",
                    flagsText(slot)});
    for (int i = 1; i < slot.bandCount; ++i)
        rows.emplace_back()[5] = bandText(slot.bands[i]);
}

std::string hex(std::uint64_t id) {
    std::array<char, 17> text{};
    std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(id));
    return text.data();
}

Json bandsJson(const SlotSnapshot& slot) {
    Json bands = Json::array();
    for (int i = 0; i < slot.bandCount; ++i) {
        const TDBand& band = slot.bands[i];
        bands.push_back({{"loHz", band.loHz},
                         {"hiHz", band.hiHz},
                         {"threshDb", band.threshDb},
                         {"ratio", band.ratio},
                         {"enabled", band.enabled}});
    }
    return bands;
}

Json slotJson(const View& view, const SlotSnapshot& slot) {
    const Process process = processOf(slot);
    const SlotSnapshot* peer = peerOf(view, slot);
    return {
        {"slot", slot.index},
        {"id", hex(slot.id)}, // 64 bits are more than many a reader's numbers hold
        {"name", slot.name},
        {"pid", process.pid != 0 ? Json(process.pid) : Json()},
        {"process", process.pid != 0 ? Json(process.name) : Json()},
        {"heartbeat", slot.heartbeat},
        {"heartbeatAgeSeconds", age(view, slot)},
        {"peerId", slot.remoteId != 0 ? Json(hex(slot.remoteId)) : Json()},
        {"peerSlot", peer ? Json(peer->index) : Json()},
        {"bypass", slot.bypass},
        {"duckSelf", slot.duckSelf},
        {"latencySamples", slot.latencySamples},
        {"bands", bandsJson(slot)},
        {"hpHz", slot.hpHz},
        {"lpHz", slot.lpHz},
        {"attackMs", slot.attackMs},
        {"releaseMs", slot.releaseMs},
        {"makeupDb", slot.makeupDb},
        {"gainReductionDb", slot.gainReduction},
        {"counters",
         {{"bands", slot.bandsSeq},
          {"hpLp", slot.hpLpSeq},
          {"controls", slot.controlsSeq},
          {"audioBins", slot.audioBinsSeq}}},
    };
}

} // namespace

View look() {
    View view;
    view.now = std::time(nullptr);
    const SignalsHeld held;
    shm::RegistryMonitor monitor;
    view.present = monitor.Attach();
    view.locked = monitor.ReadSlots(view.slots);
    view.obstacle = shm::FindObstacle();
    if (view.locked && view.obstacle == shm::Obstacle::Busy)
        view.obstacle = shm::Obstacle::None; // for a moment only
    return view;
}

bool isEmpty(const View& view) { return std::ranges::none_of(view.slots, &SlotSnapshot::active); }

std::string table(const View& view) {
    using enum shm::Obstacle;
    const bool blocked = view.obstacle != None && view.obstacle != Missing;
    const std::string obstacle = blocked ? std::string(shm::Explain(view.obstacle)) + '\n' : "";
    if (!view.present)
        return blocked ? obstacle : "no registry\n";
    std::vector<Row> rows{{"SLOT", "NAME", "PROCESS", "HEARTBEAT", "PEER", "BANDS", "FILTERS",
                           "ATTACK/RELEASE, MAKEUP", "FLAGS"}};
    for (const SlotSnapshot& slot : view.slots)
        if (slot.active)
            addRows(view, slot, rows);
    const std::string text =
        rows.size() > 1 ? terminal::aligned(rows) : "no instance in the registry\n";
    return text + (view.locked ? "" : "registry lock not free: rows may mix old and new values\n") +
           obstacle;
}

std::string json(const View& view, int indent) {
    Json slots = Json::array();
    for (const SlotSnapshot& slot : view.slots)
        if (slot.active)
            slots.push_back(slotJson(view, slot));
    const Json document{
        {"registry", view.present}, {"locked", view.locked}, {"time", view.now}, {"slots", slots}};
    return document.dump(indent, ' ', true, Json::error_handler_t::replace) + '\n';
}

} // namespace registry
