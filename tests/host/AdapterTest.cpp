#include "tests/host/Track.h"

#include "host/AudioBuffers.h"
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

TEST(Adapter, TellsItsTailOnceAndFromTheAudioThread) {
    host::HostCallbacks callbacks;
    const auto library = support::plugin();
    host::Instance instance(*library, callbacks);
    ASSERT_TRUE(instance.init() && instance.activate(48000.0, 1, 64));
    EXPECT_EQ(callbacks.calls().count(Callback::TailChanged), 0U) << "activation only remembers";
    ASSERT_TRUE(instance.startProcessing());
    host::AudioBuffers audio(64);
    for (int block = 0; block < 3; ++block)
        EXPECT_EQ(instance.process(audio, 64), CLAP_PROCESS_CONTINUE);
    const auto calls = callbacks.calls().records(Callback::TailChanged);
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_TRUE(calls[0].fromAudio);
    EXPECT_EQ(host::tail(instance), 0U);
    EXPECT_TRUE(host::setRenderMode(instance, host::RenderMode::Offline));
}

TEST(Adapter, WorksForAHostWithoutExtensionsOrWithEmptyTables) {
    const std::vector<const char*> cases[] = {{},
                                              {CLAP_EXT_TAIL},
                                              {CLAP_EXT_LOG, CLAP_EXT_THREAD_CHECK, CLAP_EXT_PARAMS,
                                               CLAP_EXT_STATE, CLAP_EXT_LATENCY, CLAP_EXT_TAIL}};
    for (const auto& emptyTables : cases) {
        host::HostCallbacks callbacks;
        for (const char* id : emptyTables)
            callbacks.offerPartial(id);
        if (emptyTables.empty())
            callbacks.withholdAll();
        const auto library = support::plugin();
        host::Instance instance(*library, callbacks);
        ASSERT_TRUE(instance.init() && instance.activate(48000.0, 1, 4096));
        ASSERT_TRUE(instance.startProcessing());
        host::AudioBuffers audio(4096);
        audio.input().fill(0.25);
        EXPECT_EQ(instance.process(audio, 4096), CLAP_PROCESS_CONTINUE);
        EXPECT_NEAR(audio.output().get(0, 4095), 0.25, 1e-6);
        instance.pumpMainThread();
        const auto log = callbacks.calls().records(Callback::Log);
        ASSERT_EQ(log.size(), emptyTables.size() == 1 ? 1U : 0U);
        EXPECT_TRUE(log.empty() || log[0].message() == "clap_host_tail is partially implemented");
    }
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
    std::uint32_t outputs; ///< channels that must be written all the same
    double left;           ///< what the first plays at the end
};

TEST(Adapter, ProcessesOddBlocksAsFarAsTheyGo) {
    using Audio = host::AudioBuffers&;
    const OddBlock cases[] = {
        {"no input port", [](Audio a) { a.inputRecords().clear(); }, 2, 0.0},
        {"no output port", [](Audio a) { a.outputRecords().clear(); }, 0, 0.0},
        {"mono in", [](Audio a) { a.inputRecords()[0].channel_count = 1; }, 2, 0.25},
        {"mono",
         [](Audio a) {
             a.inputRecords()[0].channel_count = a.outputRecords()[0].channel_count = 1;
         },
         1, 0.25},
        {"no right input", [](Audio a) { a.inputRecords()[0].data64[1] = nullptr; }, 2, 0.25},
        {"no right output", [](Audio a) { a.outputRecords()[0].data64[1] = nullptr; }, 1, 0.25},
        {"no input samples", [](Audio a) { a.inputRecords()[0].data64 = nullptr; }, 2, 0.0},
        {"a sidechain", [](Audio a) { a.inputRecords().push_back(a.inputRecords()[0]); }, 2, 0.25},
        {"no channels", [](Audio a) { a.inputRecords()[0].channel_count = 0; }, 2, 0.0},
        {"inputs that are not as constant as said",
         [](Audio a) { a.inputRecords()[0].constant_mask = 3; }, 2, 0.25},
        {"constant outputs", [](Audio a) { a.outputRecords()[0].constant_mask = 3; }, 2, 0.25}};
    constexpr std::uint32_t kFrames = 4096;
    for (const auto& [why, spoil, outputs, left] : cases) {
        SCOPED_TRACE(why);
        Track track;
        track.start(48000.0, {.maxFrames = 512}); // the block is longer than announced
        host::AudioBuffers audio(kFrames);
        audio.input().fill(0.25);
        audio.output().fill(99.0);
        spoil(audio);
        EXPECT_EQ(track.instance.process(audio, kFrames), CLAP_PROCESS_CONTINUE);
        for (const auto& record : audio.outputRecords())
            EXPECT_EQ(record.constant_mask, 0U);
        for (std::uint32_t channel = 0; channel < outputs; ++channel)
            for (std::uint32_t i = 0; i < kFrames; ++i)
                ASSERT_LT(std::abs(audio.output().get(channel, i)), 1.0) << i << " not written";
        EXPECT_NEAR(audio.output().get(0, kFrames - 1), outputs > 0 ? left : 99.0, 1e-6);
    }
}

TEST(Adapter, MixesSampleFormatsPerPort) {
    constexpr auto k32 = SampleFormat::Float32, k64 = SampleFormat::Float64;
    for (const auto& [in, out] : {std::pair{k32, k64}, {k64, k32}}) {
        Track track;
        track.start(48000.0);
        host::AudioBuffers audio({{2, in}}, {{2, out}}, 4096);
        audio.input().fill(0.25);
        track.instance.process(audio, 4096);
        EXPECT_NEAR(audio.output().get(1, 4095), 0.25, 1e-6);
    }
}

} // namespace
