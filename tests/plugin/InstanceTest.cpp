#include "dsp/Bands.h"
#include "tests/support/Plugged.h"
#include "tests/support/Test.h"

namespace {

TEST(Instance, PublishesItsDefaultsUnderANumberThatIsNeverReused) {
    int last = 0;
    for (const bool first : {true, false}) {
        Plugged p;
        const auto slot = p.slot();
        const std::string name = slot.name;
        ASSERT_TRUE(name.starts_with("TessellaDuckwork #"));
        const int number = std::stoi(name.substr(18));
        EXPECT_TRUE(first || number == last + 1) << name;
        last = number;
        ASSERT_EQ(slot.bandCount, 1);
        const TDBand band = slot.bands[0];
        EXPECT_EQ((std::array{band.loHz, band.hiHz, band.threshDb, band.ratio}),
                  (std::array{20.0F, 20000.0F, -20.0F, 4.0F}));
        EXPECT_TRUE(band.enabled && slot.duckSelf && !slot.bypass);
        EXPECT_EQ((std::array{slot.hpHz, slot.lpHz, slot.attackMs, slot.releaseMs, slot.makeupDb}),
                  (std::array{20.0F, 20000.0F, 10.0F, 100.0F, 0.0F}));
        EXPECT_TRUE(slot.bandsSeq == 1 && slot.hpLpSeq == 1 && slot.controlsSeq == 1);
        p.plug.SetInstanceName(nullptr);
        EXPECT_EQ(p.slot().name, name);
        p.plug.SetInstanceName(std::string(100, 'x').c_str());
        EXPECT_EQ(std::string(p.slot().name), std::string(63, 'x'));
    }
}

TEST(Instance, TakesOddRegistryEditsOnceAndTellsTheHost) {
    const TDBand three[3] = {{20, 150, -30, 2, true, {}},
                             {150, 30000, -300, 3, true, {}},
                             {4000, 20000, -10, 5, false, {}}};
    const TDBand strange{20, NAN, NAN, INFINITY, true, {}};
    Plugged p;
    p.start();
    const std::tuple<const char*, std::function<void()>, const char*> cases[] = {
        {"three bands, constrained, the last one off",
         [&] { p.monitor.WriteBandsOf(p.id, three, 3); },
         "0=150 Hz 1=20000 Hz 2=-30.0 dB 3=-60.0 dB 4=-10.0 dB 5=2.0 :1 6=3.0 :1 7=1.0 :1 "},
        {"what is no number stays out, infinity clamps",
         [&] { p.monitor.WriteBandsOf(p.id, &strange, 1); },
         "0=20 Hz 3=-30.0 dB 4=-30.0 dB 5=20.0 :1 6=20.0 :1 7=20.0 :1 "},
        {"filters", [&] { p.monitor.WriteHpLpOf(p.id, NAN, 999); }, "13=1000 Hz "},
        {"controls", [&] { p.monitor.WriteControlsOf(p.id, 0, 50, 99); },
         "8=0.1 ms 9=50 ms 10=24.0 dB "},
        {"the host's own events of the block are not echoed",
         [&] { p.monitor.WriteHpLpOf(p.id, 100, 1000), p.automate(Makeup, 4); }, "12=100 Hz "}};
    for (const auto& [why, edit, told] : cases) {
        edit();
        p.block();
        EXPECT_EQ(p.told(), told) << why;
        p.block();
        EXPECT_EQ(p.told(), "") << "again: " << why;
    }
}

TEST(Instance, DeliberatelyStandsAtDefaultsForOneBusyBlock) {
    Plugged p;
    p.start();
    p.monitor.WriteHpLpOf(p.id, 100, 10000);
    p.block();
    p.monitor.WriteHpLpOf(p.id, 200, 10000);
    {
        const raw::HeldLock busy;
        p.block();
    }
    EXPECT_EQ(p.value(HP), 20.0);
    EXPECT_EQ(p.told(), "") << "a stand-in is not the host's business";
    p.block();
    EXPECT_EQ(p.value(HP), 200.0);
    EXPECT_EQ(p.told(), "12=200 Hz 13=10000 Hz ");
}

TEST(Instance, PassesSoundThroughInBypass) {
    Plugged p;
    p.start();
    p.monitor.SetBypassOf(p.id, true);
    p.audio.input().fill(0.5);
    p.audio.input().set(0, 7, NAN);
    p.block();
    EXPECT_EQ(p.audio.output().get(1, 0), 0.5) << "bypass has no delay";
    EXPECT_EQ(p.audio.output().get(0, 7), 0.0) << "nor lets it pass what is no number";
    p.monitor.SetBypassOf(p.id, false);
    p.block();
    EXPECT_EQ(p.audio.output().get(1, 0), 0.0);
}

/// Levels are measured only when something is new; blocks of one sample complete no frame.
TEST(Instance, ShowsTheLevelsOfBothLastSpectraWhateverIsNew) {
    Plugged own(0), peer(1);
    own.start();
    peer.start();
    ASSERT_TRUE(own.plug.OpenWindow(&own) && own.monitor.Pair(own.id, peer.id));
    const auto play = [](Plugged& p, double level) { // a frame, then three blocks: one publishes
        for (int block = 0; block < 11; ++block) {
            for (std::uint32_t i = 0; i < Plugged::kFrames; ++i)
                p.audio.input().set(0, i, i % 2 == 0 ? level : 0.0);
            p.block();
        }
    };
    const auto published = [&](std::size_t slot, float scale) {
        const auto bins =
            raw::Segment().Get<std::array<float, 1024>>(raw::Slot(slot) + raw::kAudioBins);
        return dsp::bandLevels(bins.data(), 512, 48000.0F / 1024.0F, own.value(FreqLow),
                               own.value(FreqHigh), scale);
    };
    const auto tick = [&] {
        own.instance.process(own.audio, 1, own.in, own.sent);
        own.in.clear();
    };
    const auto setActive = [](bool on) {
        raw::Segment().Put(raw::Slot(1) + raw::kActive, std::uint8_t{on});
    };
    const auto split = [&](int param, double hz) {
        own.in.addParamValue(clap_id(param), own.plug.GetParam(param).ToHost(hz));
    };
    const struct {
        const char* why;
        std::function<void()> happens;
        bool peerVisible = true, ownVisible = true, peerActive = true;
    } cases[] = {
        {"a spectrum of each", [&] { play(own, 0.5), play(peer, 0.5); }},
        {"the same ones", [] {}},
        {"another of the peer", [&] { play(peer, 0.125); }},
        {"another of its own", [&] { play(own, 0.25); }},
        {"another high split", [&] { split(FreqHigh, 15000); }},
        {"another low split", [&] { split(FreqLow, 1000); }},
        {"no peer", [&] { own.monitor.Unpair(own.id); }, false},
        {"the peer again", [&] { own.monitor.Pair(own.id, peer.id); }},
        {"the peer swept", [&] { setActive(false); }, false, true, false},
        {"the peer back", [&] { setActive(true); }},
        {"bypass", [&] { own.monitor.SetBypassOf(own.id, true); }, false, false},
        {"no bypass", [&] { own.monitor.SetBypassOf(own.id, false), tick(), tick(); }},
    };
    for (const auto& [why, happens, peerVisible, ownVisible, peerActive] : cases) {
        SCOPED_TRACE(why);
        do // again where a heartbeat has brought the swept one back
            happens(), tick();
        while (raw::Segment().Get<std::uint8_t>(raw::Slot(1) + raw::kActive) != peerActive);
        const auto none = dsp::BandLevels{};
        const auto slot = own.slot();
        const dsp::BandLevels levels{slot.state[0], slot.state[1], slot.state[2]};
        EXPECT_EQ(levels, ownVisible ? published(0, dsp::kOwnLevelScale) : none);
        EXPECT_EQ(levels[2] > 0.001F, ownVisible);
        const dsp::BandLevels peers = NoEditor::tPeerLevel;
        EXPECT_EQ(peers, peerVisible ? published(1, dsp::peerLevelScale(1024)) : none);
        EXPECT_EQ(peers[2] > 0.001F, peerVisible);
    }
}

TEST(Instance, GlidesAtTheSamePaceInBlocksOfAnySize) {
    constexpr std::size_t kBefore = 4096, kTwoFrames = 2048;
    // Sizes that divide a hop: frames meet equal settings.
    for (const auto& [before, after] : {std::pair{64U, 1U}, {1U, 64U}, {16U, 32U}}) {
        Plugged p;
        p.start();
        p.audio.input().fill(0.25);
        std::vector<double> out;
        while (out.size() < 2 * kBefore) {
            if (out.size() == kBefore)
                p.in.addParamValue(Makeup, p.plug.GetParam(Makeup).ToHost(12.0));
            const std::uint32_t frames = out.size() < kBefore ? before : after;
            p.instance.process(p.audio, frames, p.in, p.sent);
            p.in.clear();
            for (std::uint32_t i = 0; i < frames; ++i)
                out.push_back(p.audio.output().get(0, i));
        }
        // The frame that ends n hops after the change has glided for n hops; its middle, where it
        // alone counts, comes out two frames after its first sample.
        for (const int hops : {1, 2, 3}) {
            const double hopMs = 512 / 48.0;
            const double db = 12 * (1 - std::exp(-hops * hopMs / 30));
            EXPECT_NEAR(out[kBefore + kTwoFrames + 512 * std::size_t(hops - 1)],
                        0.25 * std::pow(10, db / 20), 1e-5)
                << before << ", then " << after << ", hop " << hops;
        }
    }
}

TEST(Instance, TellsTheHostInOrderAsFastAsItTakesIt) {
    Plugged p;
    p.plug.GetParam(HP).Set(p.plug.GetParam(HP).FromNormalized(0.25));
    p.plug.GetParam(LinkSlot).Set(3);
    p.plug.BeginInformHostOfParamChange(HP);
    p.plug.InformHostOfParamChange(HP, 0.25);
    p.plug.InformHostOfParamChange(LinkSlot, 0.7);
    p.plug.EndInformHostOfParamChange(HP);
    p.plug.InformHostOfValues(1U << LP | 1U << Makeup);
    const auto* params = p.instance.extension<clap_plugin_params_t>(CLAP_EXT_PARAMS);
    host::EventList few(3), fewer(2);
    for (host::EventList* out : {&few, &fewer, &p.sent})
        params->flush(p.plug.clapPlugin(), p.in.input(), out->output());
    ASSERT_TRUE(few.size() == 3 && fewer.size() == 2);
    EXPECT_EQ(few.at(0)->type, CLAP_EVENT_PARAM_GESTURE_BEGIN);
    EXPECT_EQ(few.at(0)->size, 20U);
    EXPECT_EQ(few.paramValueAt(1)->value, 0.25);
    EXPECT_EQ(few.paramValueAt(1)->note_id, -1);
    EXPECT_EQ(few.paramValueAt(2)->value, 3.0);
    EXPECT_EQ(fewer.at(0)->type, CLAP_EVENT_PARAM_GESTURE_END);
    EXPECT_EQ(fewer.paramValueAt(1)->param_id, clap_id{Makeup});
    EXPECT_EQ(p.told(), "13=20000 Hz ") << "what found no room, and nothing twice";
}

TEST(Instance, AsksTheHostOnItsMainThreadOnceAtATime) {
    Plugged p;
    const auto ask = [&p] {
        for (int times = 0; times < 3; ++times) {
            p.plug.FlushParamsIfNeeded();
            p.plug.MarkDirty();
        }
    };
    for (const std::size_t round : {1U, 2U}) {
        std::thread(ask).join();
        p.instance.pumpMainThread();
        for (const auto callback : {Callback::ParamsRequestFlush, Callback::StateMarkDirty})
            EXPECT_EQ(p.callbacks.calls().count(callback), round);
    }
    for (const auto& call : p.callbacks.calls().records(Callback::StateMarkDirty))
        EXPECT_TRUE(call.fromMain);
}

TEST(Instance, TellsTheLastValueOfEachWhenMoreChangeThanItCanQueue) {
    Plugged p;
    for (int change = 0; change <= 100; ++change)
        for (const int param :
             {int{LP}, int{RatioHigh}, int{FreqLow}, int{HP}, int{Makeup}, int{Attack}})
            p.plug.SetParam(param, p.plug.GetParam(param).FromNormalized(change / 100.0));
    std::array<double, kNumParams> heard{};
    for (int flush = 0; flush < 2; p.flush(), ++flush)
        for (std::uint32_t i = 0; i < p.sent.size(); ++i)
            if (const auto* event = p.sent.paramValueAt(i))
                heard[event->param_id] = event->value;
    for (const int param : {LP, RatioHigh, FreqLow, HP, Makeup, Attack})
        EXPECT_EQ(heard[std::size_t(param)], 1.0) << param;
}

/// The audio thread is inside SetMeters when the host closes the editor.
TEST(Editor, IsNotClosedUnderAHandThatGivesItMeters) {
    Plugged p;
    p.start();
    std::atomic<bool> inside = false, isGoing = false;
    NoEditor::sOnMeters = [&] {
        inside = true;
        (void)eventually([&] { return isGoing.load(); }, 200ms); // which must not come true
        inside = false;
    };
    NoEditor::sOnClose = [&] { isGoing = inside.load(); };
    p.plug.OpenWindow(&p);
    std::thread audio([&] { p.block(); });
    EXPECT_TRUE(eventually([&] { return inside.load(); }));
    p.plug.CloseWindow();
    audio.join();
    NoEditor::sOnMeters = NoEditor::sOnClose = {};
    EXPECT_FALSE(isGoing) << "closed during a block";
}

TEST(Editor, KeepsItsAspectAndBounds) {
    Plugged p;
    int width = 479, height = 625;
    EXPECT_FALSE(p.plug.ConstrainEditorResize(width, height));
    EXPECT_TRUE(width == 480 && height == 300);
    EXPECT_TRUE(p.plug.ConstrainEditorResize(width, height)) << "nothing left to change";
    p.plug.OnParentWindowResize(0, 500);
    EXPECT_EQ(p.plug.GetEditorWidth(), 960);
    const auto savedSize = [&] { return get<std::array<std::uint32_t, 2>>(p.saved(), 354); };
    using Size = std::array<std::uint32_t, 2>;
    EXPECT_EQ(savedSize(), (Size{960, 600}));
    p.plug.OnParentWindowResize(1200, 750);
    EXPECT_EQ(savedSize(), (Size{1200, 750}));
    p.plug.OnParentWindowResize(99, 8001);
    EXPECT_EQ(savedSize(), (Size{960, 600})) << "none that a state can have";
}

} // namespace
