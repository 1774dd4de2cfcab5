#include "tests/support/Test.h"
#include "tests/support/Track.h"

namespace {

TEST(Adapter, WorksForAnyHostAndCallsItOnTheRightThread) {
    using Host = host::HostCallbacks&;
    static constexpr const char* kAll[] = {CLAP_EXT_LOG,   CLAP_EXT_THREAD_CHECK, CLAP_EXT_PARAMS,
                                           CLAP_EXT_STATE, CLAP_EXT_LATENCY,      CLAP_EXT_TAIL};
    // Calls of a complete extension; what was logged last.
    // clang-format off
    const std::tuple<const char*, void (*)(Host), std::size_t, std::size_t, std::string_view> cases[] = {
        {"complete", [](Host) {}, 2, 1, ""},
        {"no extensions", [](Host h) { h.withholdAll(); }, 0, 0, ""},
        {"an empty table", [](Host h) { h.offerPartial(CLAP_EXT_TAIL); }, 0, 1, "clap_host_tail is partially implemented"},
        {"empty tables", [](Host h) { for (const char* id : kAll) h.offerPartial(id); }, 0, 0, ""}};
    // clang-format on
    for (const auto& [what, prepare, tails, rescans, logged] : cases) {
        SCOPED_TRACE(what);
        Track track(prepare);
        for (const double rate : {48000.0, 44100.0}) {
            track.start(rate);
            EXPECT_GT(support::rms(track.play(support::noise(8192, 0.5, 1), 512)), 0.1);
        }
        EXPECT_TRUE(host::loadState(track.instance, host::saveState(track.instance).value()));
        track.set({{Makeup, 3.0}});
        track.instance.pumpMainThread();
        EXPECT_EQ(host::tail(track.instance), 0U);
        EXPECT_TRUE(host::setRenderMode(track.instance, host::RenderMode::Offline));

        const auto& calls = track.instance.callbacks().calls();
        EXPECT_EQ(calls.count(Callback::TailChanged), tails) << "once per activation";
        EXPECT_EQ(calls.count(Callback::ParamsRescan), rescans);
        const auto log = calls.records(Callback::Log);
        EXPECT_EQ(log.empty() ? "" : log.back().message(), logged);
        for (const auto& call : calls.records())
            EXPECT_EQ(call.fromAudio, call.callback == Callback::TailChanged)
                << "callback " << int(call.callback);
    }
}

TEST(Adapter, ProcessesOddBlocksAsFarAsTheyGo) {
    using Audio = host::AudioBuffers&;
    constexpr auto k32 = SampleFormat::Float32, k64 = SampleFormat::Float64;
    const struct { // what hosts get wrong or leave out about the buffers
        const char* why;
        void (*spoil)(Audio audio);
        std::uint32_t outputs; ///< channels that must be written all the same
        double left;           ///< what the first plays at the end
        SampleFormat in = k64, out = k64;
    } cases[] = {
        {"32 bit to 64", [](Audio) {}, 2, 0.25, k32, k64},
        {"64 bit to 32", [](Audio) {}, 2, 0.25, k64, k32},
        {"no input port", [](Audio a) { a.inputRecords().clear(); }, 2, 0.0},
        {"no output port", [](Audio a) { a.outputRecords().clear(); }, 0, 0.0},
        {"mono in", [](Audio a) { a.inputRecords()[0].channel_count = 1; }, 2, 0.25},
        {"mono out", [](Audio a) { a.outputRecords()[0].channel_count = 1; }, 1, 0.25},
        {"no right input", [](Audio a) { a.inputRecords()[0].data64[1] = nullptr; }, 2, 0.25},
        {"no right output", [](Audio a) { a.outputRecords()[0].data64[1] = nullptr; }, 1, 0.25},
        {"no input samples", [](Audio a) { a.inputRecords()[0].data64 = nullptr; }, 2, 0.0},
        {"a sidechain", [](Audio a) { a.inputRecords().push_back(a.inputRecords()[0]); }, 2, 0.25},
        {"no channels", [](Audio a) { a.inputRecords()[0].channel_count = 0; }, 2, 0.0},
        {"not constant", [](Audio a) { a.inputRecords()[0].constant_mask = 3; }, 2, 0.25},
        {"constant outputs", [](Audio a) { a.outputRecords()[0].constant_mask = 3; }, 2, 0.25}};
    constexpr std::uint32_t kFrames = 4096;
    Track track;
    track.start(48000.0, {.maxFrames = 512}); // the blocks are longer than announced
    for (const auto& [why, spoil, outputs, left, in, out] : cases) {
        SCOPED_TRACE(why);
        host::AudioBuffers audio({{2, in}}, {{2, out}}, kFrames);
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

TEST(Adapter, TakesBlocksOfHostsThatLeaveThingsOut) {
    Track track;
    track.start(48000.0);
    const clap_plugin_t* const plugin = track.instance.plugin();
    const host::AudioThreadScope scope;
    const clap_input_events_t noFunctionsIn{};
    const clap_output_events_t noFunctionsOut{};
    const clap_input_events_t noEvents{
        nullptr, [](const auto*) { return 9U; },
        [](const auto*, std::uint32_t) -> const clap_event_header_t* { return nullptr; }};
    EXPECT_EQ(plugin->process(plugin, nullptr), CLAP_PROCESS_ERROR);
    for (const std::uint32_t size : {0U, 1U}) // frames and ports without buffers
        for (const clap_input_events_t* in : {&noFunctionsIn, &noEvents, {}}) {
            clap_process_t block{};
            block.frames_count = block.audio_inputs_count = block.audio_outputs_count = size;
            block.in_events = in;
            block.out_events = in != nullptr ? &noFunctionsOut : nullptr;
            EXPECT_EQ(plugin->process(plugin, &block), CLAP_PROCESS_CONTINUE);
            track.instance.extension<clap_plugin_params_t>(CLAP_EXT_PARAMS)
                ->flush(plugin, in, block.out_events);
        }
}

} // namespace
