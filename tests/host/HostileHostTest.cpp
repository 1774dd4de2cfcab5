#include "host/AudioBuffers.h"
#include "host/AudioThreadScope.h"
#include "tests/host/Track.h"
#include "tests/shm/RawSegment.h"

#include <array>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace {

using host::SampleFormat;
using support::Stereo;
using support::Track;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(HostileHost, EventsOfAnyShapeLeaveTheLastGoodValue) {
    struct Event {
        clap_event_param_value_t value;
        std::array<std::uint64_t, 8> more; ///< what a later version of the interface may add
    };
    using E = Event&;
    const struct {
        const char* what;
        void (*spoil)(E event);
        double expected; ///< 0.75 is taken, 0.5 stands from before
    } cases[] = {
        {"at the end of time", [](E e) { e.value.header.time = UINT32_MAX; }, 0.75},
        {"before the one before it", [](E e) { e.value.header.time = 1; }, 0.75},
        {"live, and bits that nobody knows", [](E e) { e.value.header.flags = ~0U; }, 0.75},
        {"of a later version", [](E e) { e.value.header.size = sizeof(Event); }, 0.75},
        {"with a wild cookie", [](E e) { e.value.cookie = reinterpret_cast<void*>(8); }, 0.75},
        {"for a note", [](E e) { e.value.note_id = e.value.key = 60; }, 0.75},
        {"a header alone", [](E e) { e.value.header.size = sizeof e.value.header; }, 0.5},
        {"of no kind", [](E e) { e.value.header.type = UINT16_MAX; }, 0.5},
        {"for no parameter", [](E e) { e.value.param_id = CLAP_INVALID_ID; }, 0.5},
        {"enormous", [](E e) { e.value.value = 1e308; }, 1.0},
    };
    Track track;
    track.start(48000.0);
    for (const auto& c : cases) {
        Event event{};
        event.value.header = {sizeof event.value, 7, CLAP_CORE_EVENT_SPACE_ID,
                              CLAP_EVENT_PARAM_VALUE, 0};
        event.value.param_id = HP;
        event.value.value = 0.75;
        c.spoil(event);
        track.events.addParamValue(HP, 0.5, 9);
        track.events.add(event.value.header);
        track.play(support::noise(16, 0.1, 1), 16);
        EXPECT_EQ(track.hostValue(HP), c.expected) << c.what;
        EXPECT_TRUE(track.sent.empty()) << "an echo: " << c.what;
    }
}

TEST(HostileHost, MayLeaveOutWhatItLikes) {
    Track track;
    track.start(48000.0);
    const clap_plugin_t* const plugin = track.instance.plugin();
    const host::AudioThreadScope scope;
    const clap_input_events_t noFunctionsIn{};
    const clap_output_events_t noFunctionsOut{};
    const clap_input_events_t noEvents{
        nullptr, [](const auto*) { return 9U; },
        [](const auto*, std::uint32_t) -> const clap_event_header_t* { return nullptr; }};
    clap_process_t block{};
    EXPECT_EQ(plugin->process(plugin, nullptr), CLAP_PROCESS_ERROR);
    for (const std::uint32_t frames : {0U, 64U})
        for (const std::uint32_t ports : {0U, 1U})
            for (const auto* in :
                 {static_cast<const clap_input_events_t*>(nullptr), &noFunctionsIn, &noEvents}) {
                block.frames_count = frames;
                block.audio_inputs_count = block.audio_outputs_count = ports;
                block.in_events = in;
                block.out_events = in != nullptr ? &noFunctionsOut : nullptr;
                EXPECT_EQ(plugin->process(plugin, &block), CLAP_PROCESS_CONTINUE);
                track.instance.extension<clap_plugin_params_t>(CLAP_EXT_PARAMS)
                    ->flush(plugin, in, block.out_events);
            }
    plugin->reset(plugin);
}

struct OddSignal {
    const char* what;
    double (*at)(std::uint64_t random);
};

class OddSamples : public testing::TestWithParam<double> {};

INSTANTIATE_TEST_SUITE_P(rates, OddSamples, testing::Values(48000.0, 96000.0, 192000.0));

/// A frame of odd samples, between good ones. They pass through the delay of two frames and touch
/// the frame that is summed with theirs, no more; the spectrum is good with the first good frame.
TEST_P(OddSamples, AreGoneWithinThreeFrames) {
    const OddSignal signals[] = {
        {"no numbers", [](std::uint64_t) { return double{NAN}; }},
        {"one infinite", [](std::uint64_t r) { return r % 999 == 0 ? kInfinity : 0.0; }},
        {"infinite", [](std::uint64_t r) { return r % 2 == 0 ? kInfinity : -kInfinity; }},
        {"enormous", [](std::uint64_t r) { return r % 2 == 0 ? 1e308 : -1e38; }},
        {"subnormal", [](std::uint64_t r) { return r % 2 == 0 ? 5e-324 : -1e-40; }},
        {"any bits", [](std::uint64_t r) { return std::bit_cast<double>(r); }},
    };
    Track track, listener;
    raw::Segment registry;
    shm::RegistryMonitor monitor;
    ASSERT_TRUE(monitor.Attach() && monitor.Pair(track.id(), listener.id()));
    track.set({{RatioLow, 1}, {RatioMid, 1}, {RatioHigh, 1}});
    const std::size_t bins = raw::Slot(std::size_t(track.slot()->index)) + raw::kAudioBins;
    constexpr std::size_t kBlock = 64;
    for (const SampleFormat format : {SampleFormat::Float64, SampleFormat::Float32})
        for (const auto& [what, at] : signals) {
            SCOPED_TRACE(what);
            track.start(GetParam(), {.format = format});
            listener.start(GetParam(), {.format = format});
            const auto n = std::size_t(track.slot()->latencySamples);
            const Stereo good = support::noise(8 * n, 0.25, 5);
            Stereo in = good;
            std::mt19937_64 random(3);
            for (std::size_t i = 2 * n; i < 3 * n; ++i) {
                in.left[i] = at(random());
                in.right[i] = at(random());
            }
            Stereo out, heard;
            while (out.size() < in.size()) {
                const std::size_t from = out.size();
                track.block(in, from, kBlock, out);
                listener.block(good, from, kBlock, heard);
                for (std::size_t i = from; i < out.size(); ++i)
                    ASSERT_TRUE(std::isfinite(out.left[i] + out.right[i]) &&
                                std::isfinite(heard.left[i] + heard.right[i]))
                        << i;
                // A frame of samples and the hop that it may begin late; every third block tells.
                const bool clean = out.size() >= 4 * n + n / 2 + 3 * kBlock;
                for (const float bin : registry.Get<std::array<float, 1024>>(bins))
                    ASSERT_TRUE(std::isfinite(bin) && (!clean || bin < float(n))) << out.size();
            }
            for (std::size_t i = 6 * n; i < 8 * n; ++i) {
                ASSERT_NEAR(out.left[i], good.left[i - 2 * n], 1e-6) << i;
                ASSERT_NEAR(out.right[i], good.right[i - 2 * n], 1e-6) << i;
            }
        }
}

} // namespace
