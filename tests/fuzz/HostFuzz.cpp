/// A hostile host: calls in any order, events of any kind, size, time and value, samples that are
/// no numbers, texts that are none. Only the order of calls that ends in freed memory is left out.
#include "host/PrivateShm.h"
#include "tests/fuzz/Subject.h"

#include <clap/ext/params.h>
#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <cstring>
#include <string>

namespace {

using fuzz::demand;
using fuzz::kFrames;

/// An event as the bytes say; its size is the one that is read, so that lying about it would be the
/// host's own crime.
void addEvent(host::EventList& events, FuzzedDataProvider& bytes) {
    union {
        clap_event_header_t header;
        clap_event_param_value_t value;
        std::array<unsigned char, 64> all;
    } event{};
    event.value.header = {.size = sizeof event.value,
                          .time = bytes.ConsumeIntegral<std::uint32_t>(),
                          .space_id = bytes.ConsumeIntegralInRange<std::uint16_t>(0, 1),
                          .type = bytes.ConsumeIntegralInRange<std::uint16_t>(0, 12),
                          .flags = bytes.ConsumeIntegral<std::uint32_t>()};
    event.value.param_id = bytes.ConsumeIntegralInRange<clap_id>(0, kNumParams + 2);
    event.value.value = bytes.ConsumeFloatingPoint<double>();
    if (bytes.ConsumeBool())
        event.value.header.size = bytes.ConsumeIntegralInRange<std::uint32_t>(16, 64);
    events.add(event.header);
}

double oddSample(FuzzedDataProvider& bytes) {
    constexpr std::array<double, 8> kOdd{0.0, NAN, HUGE_VAL, -HUGE_VAL, 1e308, 5e-324, -1e300, 0.5};
    return bytes.PickValueInArray(kOdd);
}

/// What the parameters say of themselves and of any text or value.
void askParameters(const clap_plugin_t* plugin, FuzzedDataProvider& bytes) {
    const auto* const params =
        static_cast<const clap_plugin_params_t*>(plugin->get_extension(plugin, CLAP_EXT_PARAMS));
    const auto id = bytes.ConsumeIntegralInRange<clap_id>(0, kNumParams + 1);
    const std::string text = bytes.ConsumeRandomLengthString(40);
    double value = 0.0;
    if (params->text_to_value(plugin, id, text.c_str(), &value))
        demand(std::isfinite(value), "a text reads as a number");
    std::array<char, 32> shown{};
    const auto room = bytes.ConsumeIntegralInRange<std::uint32_t>(0, shown.size());
    if (params->value_to_text(plugin, id, bytes.ConsumeFloatingPoint<double>(), shown.data(), room))
        demand(std::memchr(shown.data(), 0, room) != nullptr, "a value's text has an end");
    if (params->get_value(plugin, id, &value))
        demand(std::isfinite(value), "a value is a number");
}

void play(fuzz::Subject& subject, FuzzedDataProvider& bytes, host::EventList& events) {
    for (std::uint32_t i = 0; i < kFrames; i += 16)
        subject.audio.input().set(i % 2, i, oddSample(bytes));
    host::EventList sent;
    subject.instance.process(subject.audio, bytes.ConsumeIntegralInRange<std::uint32_t>(0, kFrames),
                             events, sent);
    events.clear();
    subject.audio.input().fill(0.25);
    for (int i = 0; i < 3 * 4096 / int{kFrames} && bytes.ConsumeBool(); ++i)
        subject.instance.process(subject.audio, kFrames);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    demand(host::enterPrivateShm(), "a private /dev/shm is to be had");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider bytes(data, size);
    static fuzz::Subject* const subject = new fuzz::Subject; // as long as the process
    host::Instance& instance = subject->instance;
    const clap_plugin_t* const plugin = instance.plugin();
    host::EventList events;
    for (int calls = 0; bytes.remaining_bytes() > 0 && calls < 64; ++calls)
        switch (bytes.ConsumeIntegralInRange(0, 9)) {
        case 0:
            (void)instance.activate(bytes.ConsumeFloatingPoint<double>(), 1, kFrames);
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
            askParameters(plugin, bytes);
            break;
        case 6:
            instance.pumpMainThread();
            break;
        case 7: {
            const iplug::IByteChunk chunk = [&] {
                iplug::IByteChunk saved;
                (void)subject->plug.SerializeState(saved);
                return saved;
            }();
            demand(chunk.Size() == 366, "a saved chunk is whole");
            break;
        }
        case 8:
            addEvent(events, bytes);
            break;
        default:
            play(*subject, bytes, events);
        }
    subject->checkParameters();
    // Whatever it was: a host that does everything right again gets finite sound.
    instance.deactivate();
    demand(instance.activate(48000.0, 1, kFrames) && instance.startProcessing(), "it starts again");
    for (int i = 0; i < 3; ++i)
        subject->playBlock();
    return 0;
}
