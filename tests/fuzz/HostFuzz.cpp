/// A hostile host: calls in any order, events of any kind, size, time and value, samples that are
/// no numbers, texts that are none, in a registry whose lock may become any bytes. Only the order
/// of calls that ends in freed memory is left out.
#include "tests/fuzz/Fuzz.h"
#include "tests/fuzz/Subject.h"

#include <clap/ext/params.h>

#include <array>
#include <cstring>
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

double oddSample(fuzz::Bytes& bytes) {
    constexpr double kOdd[] = {0.0, NAN, HUGE_VAL, -HUGE_VAL, 1e308, 5e-324, -1e300, 0.5};
    return bytes.oneOf(kOdd);
}

/// What the parameters say of themselves and of any text or value.
void askParameters(const clap_plugin_t* plugin, fuzz::Bytes& bytes) {
    const auto* const params =
        static_cast<const clap_plugin_params_t*>(plugin->get_extension(plugin, CLAP_EXT_PARAMS));
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
    for (std::uint32_t i = 0; i < kFrames; i += 16)
        subject.audio.input().set(i % 2, i, oddSample(bytes));
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
    const clap_plugin_t* const plugin = subject.instance.plugin();
    host::EventList sent;
    if (!subject.instance.isActive())
        static_cast<const clap_plugin_params_t*>(plugin->get_extension(plugin, CLAP_EXT_PARAMS))
            ->flush(plugin, events.input(), sent.output());
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
    for (int calls = 0; !bytes.empty() && calls < 64; ++calls) {
        host::Instance& instance = subject->instance;
        switch (bytes.below(14)) {
        case 0:
            (void)instance.activate(bytes.any<double>(), 1, kFrames);
            break;
        case 1:
            instance.deactivate();
            break;
        case 2:
            (void)instance.startProcessing();
            break;
        case 3:
            instance.stopProcessing();
            break;
        case 4:
            instance.reset();
            break;
        case 5:
            askParameters(instance.plugin(), bytes);
            break;
        case 6:
            instance.pumpMainThread();
            break;
        case 7:
            demand(subject->plug.UnserializeState(subject->save(), 0) == fuzz::kWholeChunk,
                   "what was saved is loaded");
            break;
        case 8:
            addEvent(events, bytes);
            break;
        case 9:
            flush(*subject, events);
            break;
        case 10:
            subject.emplace();
            break;
        case 11:
            if (!std::exchange(broken, true))
                breakLock(bytes);
            break;
        default:
            play(*subject, bytes, events);
        }
    }
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
