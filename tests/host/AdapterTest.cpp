#include "tests/host/Track.h"

#include "host/AudioBuffers.h"
#include "host/AudioThreadScope.h"
#include "host/Extensions.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

using host::Callback;
using host::SampleFormat;
using support::Stereo;
using support::Track;

TEST(Adapter, TellsTheHostAConstantLatencyAndNoTail) {
    Track track;
    for (const double rate : {44100.0, 192000.0}) {
        track.start(rate);
        EXPECT_EQ(host::latency(track.instance), 1024U);
        EXPECT_EQ(host::tail(track.instance), 0U);
    }
    EXPECT_TRUE(host::setRenderMode(track.instance, host::RenderMode::Offline));
}

TEST(Adapter, AnnouncesItsTailFromTheAudioThreadOnly) {
    host::HostCallbacks callbacks;
    const auto library = support::plugin();
    host::Instance instance(*library, callbacks);
    ASSERT_TRUE(instance.init());
    ASSERT_TRUE(instance.activate(48000.0, 1, 64));
    EXPECT_EQ(callbacks.calls().count(Callback::TailChanged), 0U) << "activation only remembers";
    ASSERT_TRUE(instance.startProcessing());
    host::AudioBuffers audio(64);
    for (int block = 0; block < 3; ++block)
        EXPECT_EQ(instance.process(audio, 64), CLAP_PROCESS_CONTINUE);
    const auto calls = callbacks.calls().records(Callback::TailChanged);
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_TRUE(calls[0].fromAudio);
}

TEST(Adapter, WorksForAHostWithIncompleteExtensions) {
    host::HostCallbacks callbacks;
    for (const char* id : {CLAP_EXT_TAIL, CLAP_EXT_PARAMS, CLAP_EXT_THREAD_CHECK})
        callbacks.offerPartial(id);
    const auto library = support::plugin();
    host::Instance instance(*library, callbacks);
    ASSERT_TRUE(instance.init());
    ASSERT_TRUE(instance.activate(48000.0, 1, 64));
    ASSERT_TRUE(instance.startProcessing());
    host::AudioBuffers audio(64);
    EXPECT_EQ(instance.process(audio, 64), CLAP_PROCESS_CONTINUE);
    const auto log = callbacks.calls().records(Callback::Log);
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log[0].message(), "clap_host_tail is partially implemented");
    EXPECT_EQ(log[0].value, unsigned{CLAP_LOG_HOST_MISBEHAVING});
}

TEST(Adapter, RunsAtEveryRateAndRefusesNone) {
    Track track;
    for (const double rate : {1234.5678, 8000.0, 44100.0, 96000.5, 384000.0, 768000.0}) {
        track.start(rate);
        const Stereo out = track.play(support::noise(20000, 0.5, 3), 999);
        for (const double sample : out.left)
            ASSERT_TRUE(std::isfinite(sample)) << rate;
        EXPECT_GT(*std::max_element(out.left.begin(), out.left.end()), 0.3) << rate;
    }
    host::Instance& instance = track.instance;
    instance.deactivate();
    for (const double rate : {0.0, -48000.0, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_FALSE(instance.activate(rate, 1, 64)) << rate;
}

/// What hosts get wrong or leave out about the buffers of a block.
struct OddBlock {
    const char* why;
    void (*spoil)(host::AudioBuffers& audio);
    int outputs; ///< channels that must be written all the same
};

class OddBlocks : public testing::TestWithParam<OddBlock> {};

INSTANTIATE_TEST_SUITE_P(
    table, OddBlocks,
    testing::Values(
        OddBlock{"no input port", [](host::AudioBuffers& a) { a.inputRecords().clear(); }, 2},
        OddBlock{"no output port", [](host::AudioBuffers& a) { a.outputRecords().clear(); }, 0},
        OddBlock{"mono both ways",
                 [](host::AudioBuffers& a) {
                     a.inputRecords()[0].channel_count = 1;
                     a.outputRecords()[0].channel_count = 1;
                 },
                 1},
        OddBlock{"right input missing",
                 [](host::AudioBuffers& a) { a.inputRecords()[0].data64[1] = nullptr; }, 2},
        OddBlock{"right output missing",
                 [](host::AudioBuffers& a) { a.outputRecords()[0].data64[1] = nullptr; }, 1},
        OddBlock{"input without samples",
                 [](host::AudioBuffers& a) { a.inputRecords()[0].data64 = nullptr; }, 2},
        OddBlock{"a sidechain port more",
                 [](host::AudioBuffers& a) { a.inputRecords().push_back(a.inputRecords()[0]); }, 2},
        OddBlock{"outputs declared constant",
                 [](host::AudioBuffers& a) { a.outputRecords()[0].constant_mask = 3; }, 2}));

TEST_P(OddBlocks, AreProcessedAsFarAsTheyGo) {
    constexpr std::uint32_t kFrames = 4096;
    Track track;
    track.start(48000.0, {.maxFrames = 512}); // the block is longer than announced
    host::AudioBuffers audio(kFrames);
    audio.input().fill(0.25);
    audio.output().fill(99.0);
    GetParam().spoil(audio);
    EXPECT_EQ(track.instance.process(audio, kFrames), CLAP_PROCESS_CONTINUE);
    for (const auto& record : audio.outputRecords())
        EXPECT_EQ(record.constant_mask, 0U);
    for (int channel = 0; channel < GetParam().outputs; ++channel)
        for (std::uint32_t i = 0; i < kFrames; ++i)
            ASSERT_LT(std::abs(audio.output().get(std::uint32_t(channel), i)), 1.0)
                << GetParam().why << ": sample " << i << " not written";
    const bool leftPlays = GetParam().outputs > 0 && !audio.inputRecords().empty() &&
                           audio.inputRecords()[0].data64 != nullptr;
    const double expected = leftPlays ? 0.25 : 0.0;
    if (GetParam().outputs > 0) {
        EXPECT_NEAR(audio.output().get(0, kFrames - 1), expected, 1e-6) << GetParam().why;
    }
}

TEST(Adapter, MixesSampleFormatsPerPort) {
    for (const auto in : {SampleFormat::Float32, SampleFormat::Float64})
        for (const auto out : {SampleFormat::Float32, SampleFormat::Float64}) {
            Track track;
            track.start(48000.0);
            host::AudioBuffers audio({{2, in}}, {{2, out}}, 4096);
            audio.input().fill(0.25);
            track.instance.process(audio, 4096);
            EXPECT_NEAR(audio.output().get(1, 4095), 0.25, 1e-6);
        }
}

TEST(Adapter, SurvivesNullListsAndEmptyBlocks) {
    Track track;
    track.start(48000.0);
    const clap_plugin_t* plugin = track.instance.plugin();
    const host::AudioThreadScope scope;
    clap_input_events_t noFunctionsIn{};
    clap_output_events_t noFunctionsOut{};
    clap_process_t block{};
    EXPECT_EQ(plugin->process(plugin, &block), CLAP_PROCESS_CONTINUE);
    block.in_events = &noFunctionsIn;
    block.out_events = &noFunctionsOut;
    EXPECT_EQ(plugin->process(plugin, &block), CLAP_PROCESS_CONTINUE);
    EXPECT_EQ(plugin->process(plugin, nullptr), CLAP_PROCESS_ERROR);
    plugin->reset(plugin);
}

TEST(Adapter, RecoversFromSamplesThatAreNoNumbers) {
    Track track;
    track.start(48000.0);
    Stereo in = support::noise(12288, 0.25, 5);
    in.left[1000] = std::numeric_limits<double>::quiet_NaN();
    in.right[1001] = std::numeric_limits<double>::infinity();
    in.left[1002] = 1e300;
    const Stereo out = track.play(in, 64);
    for (std::size_t i = 0; i < out.size(); ++i)
        ASSERT_TRUE(std::isfinite(out.left[i]) && std::isfinite(out.right[i])) << i;
    for (std::size_t i = 8192; i < out.size(); ++i)
        ASSERT_NEAR(out.left[i], in.left[i - 2048], 1e-6) << i;
}

} // namespace
