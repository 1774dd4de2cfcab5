/// A hostile host: calls in any order, events of any kind, size, time and value, samples that are
/// no numbers, texts that are none, in a registry whose lock may become any bytes. Only the order
/// of calls that ends in freed memory is left out.
#include "host/Params.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/fuzz/Subject.h"

#include <array>
#include <cstring>
#include <functional>
#include <optional>
#include <pthread.h>
#include <string>
#include <utility>
#include <vector>

namespace {

using fuzz::demand;
using fuzz::kFrames;

/// An event as the bytes say; its size is the one that is read, so that lying about it would be the
/// host's own crime.
void addEvent(host::EventList& events, fuzz::Bytes& bytes) {
    union {
        clap_event_header_t header;
        clap_event_param_value_t value;
        std::array<unsigned char, 64> all;
    } event{};
    event.value.header = {.size = sizeof event.value,
                          .time = bytes.any<std::uint32_t>(),
                          .space_id = std::uint16_t(bytes.below(2)),
                          .type = std::uint16_t(bytes.below(13)),
                          .flags = bytes.any<std::uint32_t>()};
    event.value.param_id = bytes.below(kNumParams + 3);
    event.value.value = bytes.any<double>();
    if (bytes.flip())
        event.value.header.size = 16 + bytes.below(49);
    events.add(event.header);
}

/// What the parameters say of themselves and of any text or value.
void askParameters(const host::Instance& instance, fuzz::Bytes& bytes) {
    const auto* const params = instance.extension<clap_plugin_params_t>(CLAP_EXT_PARAMS);
    const clap_plugin_t* const plugin = instance.plugin();
    const auto id = bytes.below(kNumParams + 2);
    const std::string text = bytes.text(40);
    double value = 0.0;
    if (params->text_to_value(plugin, id, text.c_str(), &value))
        demand(std::isfinite(value), "a text reads as a number");
    std::vector<char> shown(bytes.below(32), 'x'); // on the heap: a byte too many is seen
    const auto room = static_cast<std::uint32_t>(shown.size());
    if (params->value_to_text(plugin, id, bytes.any<double>(), shown.data(), room))
        demand(std::memchr(shown.data(), 0, room) != nullptr, "a value's text has an end");
    if (params->get_value(plugin, id, &value))
        demand(std::isfinite(value), "a value is a number");
}

void play(fuzz::Subject& subject, fuzz::Bytes& bytes, host::EventList& events) {
    constexpr double kOdd[] = {0.0, NAN, HUGE_VAL, -HUGE_VAL, 1e308, 5e-324, -1e300, 0.5};
    for (std::uint32_t i = 0; i < kFrames; i += 16)
        subject.audio.input().set(i % 2, i, bytes.oneOf(kOdd));
    host::EventList sent;
    const std::uint32_t frames = bytes.below(kFrames + 1);
    subject.instance.process(subject.audio, frames, events, sent);
    subject.checkOutput(frames);
    events.clear();
    subject.audio.input().fill(0.25);
    for (int i = 0; i < 3 * 4096 / int{kFrames} && bytes.flip(); ++i)
        subject.playBlock();
}

/// Parameters from the main thread, which is the place for an instance that plays nothing.
void flush(const fuzz::Subject& subject, const host::EventList& events) {
    host::EventList sent;
    if (!subject.instance.isActive())
        host::Params(subject.instance).flush(events, sent);
}

/// Overwrites a part of the lock while nobody holds it. Its first word stays that of a free one: a
/// busy lock is waited for, which is not to be searched here.
void breakLock(fuzz::Bytes& bytes) {
    const fuzz::MappedRegistry registry;
    unsigned char* const lock = registry.bytes() + offsetof(shm::RegistrySegment, mutex);
    constexpr std::size_t kWord = 4, kSize = sizeof(pthread_mutex_t);
    if (pthread_mutex_trylock(reinterpret_cast<pthread_mutex_t*>(lock)) != 0)
        return;
    std::size_t at = kWord + bytes.below(kSize - kWord);
    for (const std::uint8_t byte : bytes.some(8))
        if (at < kSize)
            lock[at++] = byte;
    std::memset(lock, 0, kWord);
}

/// In a registry of its own.
void makeAnew(std::optional<fuzz::Subject>& subject) {
    subject.reset();
    shm_unlink(shm::kSegmentName);
    subject.emplace();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Bytes bytes(data, size);
    static auto& subject = *new std::optional<fuzz::Subject>; // as long as the process
    if (!subject)
        makeAnew(subject);
    bool broken = false;
    host::EventList events;
    const std::function<void(host::Instance&)> calls[] = {
        [&](auto& instance) { (void)instance.activate(bytes.any<double>(), 1, kFrames); },
        [&](auto& instance) { instance.deactivate(); },
        [&](auto& instance) { (void)instance.startProcessing(); },
        [&](auto& instance) { instance.stopProcessing(); },
        [&](auto& instance) { instance.reset(); },
        [&](auto& instance) { askParameters(instance, bytes); },
        [&](auto& instance) { instance.pumpMainThread(); },
        [&](auto&) {
            demand(subject->plug.UnserializeState(subject->save(), 0) == fuzz::kWholeChunk,
                   "what was saved is loaded");
        },
        [&](auto&) { addEvent(events, bytes); },
        [&](auto&) { flush(*subject, events); },
        [&](auto&) { subject.emplace(); },
        [&](auto&) { std::exchange(broken, true) ? void() : breakLock(bytes); },
        [&](auto&) { play(*subject, bytes, events); },
        [&](auto&) { play(*subject, bytes, events); }};
    for (int count = 0; !bytes.empty() && count < 64; ++count)
        bytes.oneOf(calls)(subject->instance);
    subject->checkParameters();
    // Whatever it was: a host that does everything right again gets finite sound.
    subject->instance.deactivate();
    demand(subject->instance.activate(48000.0, 1, kFrames) && subject->instance.startProcessing(),
           "it starts again");
    for (int i = 0; i < 3; ++i)
        subject->playBlock();
    if (broken)
        makeAnew(subject);
    return 0;
}
