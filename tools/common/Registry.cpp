#include "tools/common/Registry.h"

#include "shm/Obstacle.h"
#include "shm/Slot.h"
#include "tools/common/Failure.h"
#include "tools/common/Interrupt.h"

#include <chrono>
#include <ctime>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

namespace tools {
namespace {

constexpr auto kPollInterval = std::chrono::milliseconds(10);

/// An id is (process id << 32) XOR an address. What another process's id gives with our process id
/// is no address of ours.
bool isOfThisProcess(std::uint64_t id) {
    const std::uint64_t address = id ^ (static_cast<std::uint64_t>(getpid()) << 32);
    const std::uint64_t page = address - address % static_cast<std::uint64_t>(getpagesize());
    unsigned char resident = 0;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): asked about, never followed
    return mincore(reinterpret_cast<void*>(page), 1, &resident) == 0; // else it is not mapped
}

void require(bool done, const char* what) {
    if (!done)
        fail(std::string("the registry refused to ") + what);
}

} // namespace

std::string whyNoSlot(std::size_t trackNumber) {
    return "track " + std::to_string(trackNumber) +
           " gets no place in the registry: " + shm::Explain(shm::FindObstacle()) +
           "; or use --private";
}

Registry::Registry() {
    if (!monitor.Attach())
        return; // none yet: the first instance creates it
    refresh();
    for (const shm::SlotSnapshot& slot : slots)
        if (slot.active)
            known.insert(slot.id);
}

std::uint64_t Registry::identifyNewInstance() {
    // Anew each time: the instance may have replaced a registry in which nobody was alive.
    if (!monitor.Attach())
        return 0;
    refresh();
    for (const shm::SlotSnapshot& slot : slots)
        if (slot.active && isOfThisProcess(slot.id) && known.insert(slot.id).second) {
            own.insert(slot.id);
            return slot.id;
        }
    return 0;
}

void Registry::rename(std::uint64_t id, const std::string& name) {
    require(monitor.Rename(id, name.c_str()), "name an instance");
}

void Registry::setDuckSelf(std::uint64_t id, bool on) {
    require(monitor.SetDuckSelfOf(id, on), "set a duck switch");
}

void Registry::pair(std::uint64_t idA, std::uint64_t idB) {
    require(monitor.Pair(idA, idB), "pair two instances");
}

void Registry::set(std::uint64_t id, const shm::Settings& settings) {
    const auto& [bands, filters, controls] = settings;
    require(monitor.WriteBandsOf(id, bands.bands.data(), bands.count) != 0 &&
                monitor.WriteHpLpOf(id, filters.hpHz, filters.lpHz) != 0 &&
                monitor.WriteControlsOf(id, controls.attackMs, controls.releaseMs,
                                        controls.makeupDb) != 0,
            "set an instance");
}

std::uint64_t Registry::waitForPeer(const std::string& name, double seconds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (true) {
        refresh();
        const std::vector<std::uint64_t> found = othersNamed(name);
        if (found.size() > 1)
            fail("more than one instance is called \"" + name + "\"");
        if (!found.empty())
            return found.front();
        if (std::chrono::steady_clock::now() >= deadline)
            throw Failure(ExitCode::NothingFound,
                          "no instance called \"" + name + "\" has appeared");
        checkInterrupt();
        std::this_thread::sleep_for(kPollInterval);
    }
}

std::vector<std::uint64_t> Registry::othersNamed(const std::string& name) const {
    std::vector<std::uint64_t> found;
    const auto now = static_cast<std::int64_t>(std::time(nullptr));
    for (const shm::SlotSnapshot& slot : slots)
        if (slot.active && name == slot.name && !own.contains(slot.id) &&
            now - slot.heartbeat <= shm::kAliveSeconds)
            found.push_back(slot.id);
    return found;
}

void Registry::refresh() { monitor.ReadSlots(slots); }

const shm::SlotSnapshot* Registry::slot(std::uint64_t id) const {
    for (const shm::SlotSnapshot& slot : slots)
        if (slot.active && slot.id == id)
            return &slot;
    return nullptr;
}

} // namespace tools
