#include "tests/support/Test.h"
#include "adapter/ParamQueue.h"
#include "dsp/Bands.h"
#include "tests/support/Plugged.h"

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

TEST(Instance, TakesEachRegistryEditOnceAndTellsTheHost) {
    const TDBand three[3] = {{20, 150, -30, 2, true, {}},
                             {150, 30000, -300, 3, true, {}},
                             {4000, 20000, -10, 5, false, {}}};
    const TDBand strange{20, std::numeric_limits<float>::quiet_NaN(), NAN, INFINITY, true, {}};
    Plugged p;
    p.start();
    const auto bands = [&p](const TDBand* list, int count) {
        return [&p, list, count] { p.monitor.WriteBandsOf(p.id, list, count); };
    };
    const struct {
        const char* why;
        std::function<void()> edit;
        const char* told;
    } cases[] = {
        {"three bands, constrained, the last one off", bands(three, 3),
         "0=150 Hz 1=20000 Hz 2=-30.0 dB 3=-60.0 dB 4=-10.0 dB 5=2.0 :1 6=3.0 :1 7=1.0 :1 "},
        {"two bands share the second's values above the split", bands(three, 2),
         "4=-60.0 dB 7=3.0 :1 "},
        {"one band rules everywhere", bands(three, 1),
         "0=20 Hz 3=-30.0 dB 4=-30.0 dB 6=2.0 :1 7=2.0 :1 "},
        {"what is no number stays out, infinity clamps", bands(&strange, 1),
         "5=20.0 :1 6=20.0 :1 7=20.0 :1 "},
        {"no band at all is no change", bands(three, 0), ""},
        {"filters", [&p] { p.monitor.WriteHpLpOf(p.id, NAN, 999); }, "13=1000 Hz "},
        {"controls", [&p] { p.monitor.WriteControlsOf(p.id, 0, 50, 99); },
         "8=0.1 ms 9=50 ms 10=24.0 dB "},
        {"the host's own events of the block are not echoed",
         [&p] {
             p.monitor.WriteHpLpOf(p.id, 100, 1000);
             p.in.addParamValue(Makeup, p.plug.GetParam(Makeup).ToHost(4.0));
         },
         "12=100 Hz "},
    };
    for (const auto& c : cases) {
        c.edit();
        p.block();
        EXPECT_EQ(p.told(), c.told) << c.why;
        p.block();
        EXPECT_EQ(p.told(), "") << "again: " << c.why;
    }
    EXPECT_EQ(p.slot().makeupDb, 4.0F);
}

TEST(Instance, KeepsTheHostsValueWhenTheRegistryIsBusy) {
    Plugged p;
    p.start();
    p.monitor.WriteControlsOf(p.id, 50, 500, 5); // lands in the block that is busy
    const auto before = p.slot().controlsSeq;
    {
        const raw::HeldLock busy;
        p.in.addParamValue(Attack, p.plug.GetParam(Attack).ToHost(33.0));
        p.block();
    }
    EXPECT_FLOAT_EQ(p.slot().attackMs, 50.0F) << "not published yet";
    for (const bool published : {false, true}) {
        EXPECT_DOUBLE_EQ(p.value(Attack), 33.0);
        EXPECT_EQ(p.told(), published ? "9=500 ms 10=5.0 dB " : "") << "the others are the peer's";
        EXPECT_EQ(p.slot().controlsSeq, before + (published ? 1 : 0));
        p.block(); // carries it over, once
    }
    EXPECT_FLOAT_EQ(p.slot().attackMs, 33.0F);
    EXPECT_DOUBLE_EQ(p.value(Attack), 33.0);
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

TEST(Instance, FollowsTheFlagsOfItsSlot) {
    Plugged p;
    p.start();
    p.monitor.SetBypassOf(p.id, true);
    p.monitor.SetDuckSelfOf(p.id, false);
    p.audio.input().fill(0.5);
    p.audio.input().set(0, 7, NAN);
    p.block();
    EXPECT_EQ(p.audio.output().get(1, 0), 0.5) << "bypass has no delay";
    EXPECT_EQ(p.audio.output().get(0, 7), 0.0) << "nor lets it pass what is no number";
    iplug::IByteChunk chunk;
    EXPECT_TRUE(p.plug.Own().DuckSelf() && p.plug.SerializeState(chunk) && !p.plug.Own().DuckSelf())
        << "what no block has taken, a save takes";
    p.monitor.SetDuckSelfOf(p.id, true);
    p.followRegistry();
    EXPECT_TRUE(p.plug.Own().DuckSelf()) << "and so does the own editor's frame";
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
        bool peerVisible = true, ownVisible = true;
    } cases[] = {
        {"a spectrum of each", [&] { play(own, 0.5), play(peer, 0.5); }},
        {"the same ones", [] {}},
        {"another of the peer", [&] { play(peer, 0.125); }},
        {"another of its own", [&] { play(own, 0.25); }},
        {"another high split", [&] { split(FreqHigh, 15000); }},
        {"another low split", [&] { split(FreqLow, 1000); }},
        {"no peer", [&] { own.monitor.Unpair(own.id); }, false},
        {"the peer again", [&] { own.monitor.Pair(own.id, peer.id); }},
        {"the peer swept", [&] { setActive(false); }, false},
        {"the peer back", [&] { setActive(true); }},
        {"bypass", [&] { own.monitor.SetBypassOf(own.id, true); }, false, false},
        {"no bypass", [&] { own.monitor.SetBypassOf(own.id, false), tick(), tick(); }},
    };
    const auto expectLevels = [&](bool peerVisible, bool ownVisible) {
        tick();
        const auto none = dsp::BandLevels{};
        const auto slot = own.slot();
        const dsp::BandLevels levels{slot.state[0], slot.state[1], slot.state[2]};
        EXPECT_EQ(levels, ownVisible ? published(0, dsp::kOwnLevelScale) : none);
        EXPECT_EQ(levels[2] > 0.001F, ownVisible);
        const dsp::BandLevels peers = NoEditor::tPeerLevel;
        EXPECT_EQ(peers, peerVisible ? published(1, dsp::peerLevelScale(1024)) : none);
        EXPECT_EQ(peers[2] > 0.001F, peerVisible);
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        c.happens();
        expectLevels(c.peerVisible, c.ownVisible);
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

TEST(ParamQueue, DropsWhatDoesNotFitAndKeepsOrder) {
    iplug::ParamQueue queue;
    int pushed = 0;
    while (pushed < 100000 && queue.Push({iplug::ParamRecord::Kind::Value, pushed, 0.0}))
        ++pushed;
    for (int round = 0; round < pushed; ++round, queue.Pop())
        ASSERT_EQ(queue.Peek()->index, round);
    EXPECT_EQ(queue.Peek(), nullptr);
}

TEST(Editor, KeepsItsAspectAndBounds) {
    Plugged p;
    int width = 479, height = 625;
    EXPECT_FALSE(p.plug.ConstrainEditorResize(width, height));
    EXPECT_TRUE(width == 480 && height == 300);
    EXPECT_TRUE(p.plug.ConstrainEditorResize(width, height)) << "nothing left to change";
    p.plug.OnParentWindowResize(0, 500);
    EXPECT_EQ(p.plug.GetEditorWidth(), 960);
    p.plug.OnParentWindowResize(1200, 750);
    EXPECT_EQ(p.plug.GetEditorHeight(), 750);
}

} // namespace
