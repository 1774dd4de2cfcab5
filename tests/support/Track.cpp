#include "tests/support/Track.h"

#include <algorithm>
#include <bit>
#include <string>
#include <unistd.h>

namespace support {

std::shared_ptr<const host::Library> plugin() {
    static std::weak_ptr<const host::Library> loaded;
    auto library = loaded.lock();
    if (!library)
        loaded = library = std::make_shared<const host::Library>(TD_PLUGIN_PATH);
    return library;
}

std::vector<shm::SlotSnapshot> activeSlots() {
    std::vector<shm::SlotSnapshot> slots;
    shm::RegistryMonitor monitor;
    if (monitor.Attach())
        monitor.ReadSlots(slots);
    std::erase_if(slots, [](const shm::SlotSnapshot& slot) { return !slot.active; });
    return slots;
}

std::optional<shm::SlotSnapshot> activeSlot(std::uint64_t id) {
    for (const shm::SlotSnapshot& slot : activeSlots())
        if (slot.id == id)
            return slot;
    return std::nullopt;
}

Track::Track(const std::function<void(host::HostCallbacks&)>& prepare)
    : instance(*library, callbacks), params(instance) {
    if (prepare)
        prepare(callbacks);
    if (!instance.init())
        throw host::HostError("init refused");
    for (const shm::SlotSnapshot& slot : activeSlots())
        if (std::ranges::find(slotsBefore, slot.id, &shm::SlotSnapshot::id) == slotsBefore.end() &&
            isOurs(slot.id))
            slotId = slot.id;
}

/// Whether the handle that the id tells of lies in our instance: another process may have opened
/// one at the same time.
bool Track::isOurs(std::uint64_t id) const {
    constexpr std::uint64_t kMoreThanAnInstance = 1U << 24U;
    const auto handle = id ^ (static_cast<std::uint64_t>(getpid()) << 32U);
    const auto object = std::bit_cast<std::uintptr_t>(instance.plugin()->plugin_data);
    return handle - object < kMoreThanAnInstance;
}

shm::SlotSnapshot Track::slot() const {
    const auto own = activeSlot(slotId);
    return own ? *own
               : throw host::HostError("the instance has no slot: of sixteen, " +
                                       std::to_string(activeSlots().size()) + " are in use");
}

void Track::set(const std::vector<Setting>& settings) {
    for (const Setting& setting : settings)
        events.addParamValue(setting.id, toHost(setting.id, setting.value));
    params.flush(events, sent);
    events.clear();
}

void Track::start(double rate, Buffers buffers) {
    instance.stopProcessing();
    instance.deactivate();
    audio.emplace(buffers.maxFrames + 1, buffers.format); // see block()
    inPlace = buffers.inPlace;
    if (inPlace)
        audio->makeInPlace();
    if (!instance.activate(rate, 1, buffers.maxFrames) || !instance.startProcessing())
        throw host::HostError("activation refused");
}

void Track::block(const Stereo& in, std::size_t at, std::size_t frames, Stereo& out) {
    constexpr double kGuard = 1234.5;
    const auto count = static_cast<std::uint32_t>(frames);
    host::PortBuffer &input = audio->input(), &output = audio->output();
    for (std::uint32_t i = 0; i < count; ++i) {
        input.set(0, i, in.left[at + i]);
        input.set(1, i, in.right[at + i]);
    }
    const double first = input.get(1, 0);
    output.set(0, count, kGuard);
    output.set(1, count, kGuard);
    sent.clear();
    instance.process(*audio, count, events, sent);
    events.clear();
    for (std::uint32_t i = 0; i < count; ++i) {
        out.left.push_back(output.get(0, i));
        out.right.push_back(output.get(1, i));
    }
    if (output.get(0, count) != kGuard || output.get(1, count) != kGuard ||
        !(inPlace || first != first || input.get(1, 0) == first))
        throw host::HostError("the plug-in writes where it may not");
}

Stereo Track::play(const Stereo& in, std::size_t frames) {
    Stereo out;
    for (std::size_t at = 0; at < in.size(); at += frames)
        block(in, at, std::min(frames, in.size() - at), out);
    return out;
}

double Track::toHost(clap_id id, double plain) const {
    return params.fromText(id, std::to_string(plain)).value();
}

} // namespace support
