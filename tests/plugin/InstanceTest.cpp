#include "dsp/BandLevels.h"
#include "plugin/ParamQueue.h"
#include "tests/plugin/NoEditor.h"
#include "tests/plugin/Plugged.h"
#include "tests/shm/RawSegment.h"

#include <climits>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

namespace {

using host::Callback;
using support::Plugged;

TEST(Instance, PublishesItsDefaultsWhenBuilt) {
    const Plugged p;
    const auto slot = p.slot();
    EXPECT_TRUE(std::string(slot.name).starts_with("TessellaDuckwork #"));
    ASSERT_EQ(slot.bandCount, 1);
    const TDBand band = slot.bands[0];
    EXPECT_EQ((std::array{band.loHz, band.hiHz, band.threshDb, band.ratio}),
              (std::array{20.0F, 20000.0F, -20.0F, 4.0F}));
    EXPECT_TRUE(band.enabled && slot.duckSelf && !slot.bypass);
    EXPECT_EQ((std::array{slot.hpHz, slot.lpHz, slot.attackMs, slot.releaseMs, slot.makeupDb}),
              (std::array{20.0F, 20000.0F, 10.0F, 100.0F, 0.0F}));
    EXPECT_EQ((std::array{slot.bandsSeq, slot.hpLpSeq, slot.controlsSeq}),
              (std::array<std::uint64_t, 3>{1, 1, 1}));
}

TEST(Instance, CutsItsNameAndNeverReusesItsNumber) {
    int last = 0;
    for (int i = 0; i < 3; ++i) {
        Plugged p;
        const std::string name = p.slot().name;
        const int number = std::stoi(name.substr(18));
        EXPECT_TRUE(i == 0 || number == last + 1) << name;
        last = number;
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
    {
        const raw::HeldLock busy;
        p.in.addParamValue(Attack, p.plug.GetParam(Attack).ToHost(33.0));
        p.block();
        EXPECT_DOUBLE_EQ(p.value(Attack), 33.0);
        EXPECT_EQ(p.told(), "");
    }
    const auto before = p.slot().controlsSeq;
    EXPECT_FLOAT_EQ(p.slot().attackMs, 50.0F) << "not published yet";
    p.block();
    EXPECT_FLOAT_EQ(p.slot().attackMs, 33.0F) << "carried to the next block";
    EXPECT_EQ(p.slot().controlsSeq, before + 1);
    p.block();
    EXPECT_DOUBLE_EQ(p.value(Attack), 33.0);
    EXPECT_EQ(p.told(), "");
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
        EXPECT_EQ(p.value(HP), 20.0);
        EXPECT_EQ(p.told(), "") << "a stand-in is not the host's business";
    }
    p.block();
    EXPECT_EQ(p.value(HP), 200.0);
    EXPECT_EQ(p.told(), "12=200 Hz 13=10000 Hz ");
}

TEST(Instance, FollowsTheFlagsOfItsSlot) {
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

TEST(Instance, MeasuresAndPublishesAtOnceWhatIsNew) {
    Plugged p;
    std::minstd_rand random(3);
    p.start();
    const auto play = [&](int blocks, std::uint32_t frames) {
        for (int block = 0; block < blocks; ++block) {
            for (std::uint32_t i = 0; i < frames; ++i)
                p.audio.input().set(0, i, static_cast<double>(random() % 1000) / 1000.0);
            p.instance.process(p.audio, frames, p.in, p.sent);
            p.in.clear();
        }
    };
    const auto expectLevelsOfPublished = [&](const char* when) {
        const auto bins =
            raw::Segment().Get<std::array<float, 1024>>(raw::Slot(0) + raw::kAudioBins);
        const auto levels = dsp::bandLevels(bins.data(), 512, 48000.0F / 1024.0F, p.value(FreqLow),
                                            p.value(FreqHigh), dsp::kOwnLevelScale);
        const auto slot = p.slot();
        EXPECT_GT(levels[2], 1.0F) << when;
        EXPECT_EQ(levels, (dsp::BandLevels{slot.state[0], slot.state[1], slot.state[2]})) << when;
    };
    play(24, Plugged::kFrames); // ends with a frame
    play(3, 1);
    expectLevelsOfPublished("three blocks after a frame");
    const float before = p.slot().state[2];
    play(8, Plugged::kFrames);
    play(3, 1);
    EXPECT_NE(p.slot().state[2], before) << "another frame";
    expectLevelsOfPublished("after another frame");
    p.in.addParamValue(FreqLow, 0.5);
    play(1, 1);
    expectLevelsOfPublished("a split has moved, no frame");
    p.monitor.SetBypassOf(p.id, true);
    play(1, 1);
    EXPECT_EQ(p.slot().state[2], 0.0F);
    p.monitor.SetBypassOf(p.id, false);
    play(3, 1);
    expectLevelsOfPublished("back from bypass, no frame");
}

TEST(Instance, ShowsThePeersLevelOfItsLastSpectrum) {
    Plugged own(0), peer(1);
    own.start();
    peer.start();
    ASSERT_TRUE(own.monitor.Pair(own.id, peer.id));
    const auto publish = [&](double level) { // a frame, then the third block after it
        for (int block = 0; block < 9; ++block) {
            for (std::uint32_t i = 0; i < Plugged::kFrames; ++i)
                peer.audio.input().set(0, i, i % 2 == 0 ? level : 0.0);
            peer.block();
        }
    };
    const auto published = [&] {
        const auto bins =
            raw::Segment().Get<std::array<float, 1024>>(raw::Slot(1) + raw::kAudioBins);
        return dsp::bandLevels(bins.data(), 512, 48000.0F / 1024.0F, own.value(FreqLow),
                               own.value(FreqHigh), dsp::peerLevelScale(1024));
    };
    const auto shown = [&] {
        own.instance.process(own.audio, 1, own.in, own.sent); // never completes a frame of its own
        own.in.clear();
        return support::handedPeerLevel();
    };
    const struct {
        const char* why;
        std::function<void()> happens;
        bool visible = true;
    } cases[] = {
        {"a spectrum", [&] { publish(0.5); }},
        {"the same one", [] {}},
        {"another", [&] { publish(0.125); }},
        {"another split",
         [&] { own.in.addParamValue(FreqHigh, own.plug.GetParam(FreqHigh).ToHost(15000)); }},
        {"no peer", [&] { own.monitor.Unpair(own.id); }, false},
        {"the peer again", [&] { own.monitor.Pair(own.id, peer.id); }},
    };
    for (const auto& c : cases) {
        c.happens();
        const dsp::BandLevels levels = shown();
        EXPECT_EQ(levels, c.visible ? published() : dsp::BandLevels{}) << c.why;
        EXPECT_EQ(levels[2] > 0.001F, c.visible) << c.why;
    }
    own.monitor.WriteHpLpOf(own.id, 100, 10000);
    {
        const raw::HeldLock busy;
        EXPECT_EQ(shown(), dsp::BandLevels{}) << "a busy registry shows no peer";
    }
    EXPECT_EQ(shown(), published()) << "free again, with the same spectrum";
}

TEST(Instance, GlidesAtTheSamePaceInBlocksOfAnySize) {
    const auto play = [](std::uint32_t before, std::uint32_t after) {
        Plugged p;
        p.start();
        p.audio.input().fill(0.25);
        std::vector<double> out;
        const auto run = [&](std::uint32_t frames) {
            for (std::uint32_t done = 0; done < 4096; done += frames) {
                p.instance.process(p.audio, frames, p.in, p.sent);
                p.in.clear();
                for (std::uint32_t i = 0; i < frames; ++i)
                    out.push_back(p.audio.output().get(0, i));
            }
        };
        run(before);
        p.in.addParamValue(Makeup, p.plug.GetParam(Makeup).ToHost(12.0));
        run(after);
        return out;
    };
    const auto expected = play(64, 64);
    // The first frame with the new setting has glided for one hop; its middle, where it alone
    // counts, comes out two frames after the change.
    const double hopMs = 512 / 48.0;
    EXPECT_NEAR(expected[4096 + 2048], 0.25 * std::pow(10, 12 * (1 - std::exp(-hopMs / 30)) / 20),
                1e-5);
    for (const auto& [before, after] : {std::pair{64U, 1U}, {1U, 64U}, {16U, 32U}}) {
        const auto out = play(before, after); // sizes that divide a hop: frames meet equal settings
        for (std::size_t i = 0; i < out.size(); ++i)
            ASSERT_NEAR(out[i], expected[i], 1e-5) << before << ", then " << after << ", at " << i;
    }
}

TEST(Instance, ReportsTheEditorsGesturesInOrderAsFastAsTheHostTakesThem) {
    Plugged p;
    p.plug.BeginInformHostOfParamChange(HP);
    p.plug.InformHostOfParamChange(HP, 0.25);
    p.plug.InformHostOfParamChange(LinkSlot, 0.7);
    p.plug.EndInformHostOfParamChange(HP);
    p.instance.pumpMainThread();
    EXPECT_GT(p.callbacks.calls().count(Callback::ParamsRequestFlush), 0U);
    const auto* params = p.instance.extension<clap_plugin_params_t>(CLAP_EXT_PARAMS);
    host::EventList few(3);
    for (host::EventList* out : {&few, &p.sent})
        params->flush(p.plug.clapPlugin(), p.in.input(), out->output());
    ASSERT_TRUE(few.size() == 3 && p.sent.size() == 1);
    EXPECT_EQ(few.at(0)->type, CLAP_EVENT_PARAM_GESTURE_BEGIN);
    EXPECT_EQ(few.at(0)->size, 20U);
    EXPECT_EQ(few.paramValueAt(1)->value, 0.25);
    EXPECT_EQ(few.paramValueAt(1)->note_id, -1);
    EXPECT_EQ(few.paramValueAt(2)->value, 3.0);
    EXPECT_EQ(p.sent.at(0)->type, CLAP_EVENT_PARAM_GESTURE_END);
}

TEST(ParamQueue, DropsWhatDoesNotFitAndKeepsOrder) {
    iplug::ParamQueue queue;
    int pushed = 0;
    while (queue.Push({iplug::ParamRecord::Kind::Value, pushed, 0.0}))
        ++pushed;
    for (int round = 0; round < pushed; ++round, queue.Pop())
        ASSERT_EQ(queue.Peek()->index, round);
    EXPECT_EQ(queue.Peek(), nullptr);
}

TEST(Editor, KeepsItsAspectAndBounds) {
    using Size = std::pair<int, int>;
    Plugged p;
    for (const auto& [asked, given] :
         std::vector<std::pair<Size, Size>>{{{479, 100}, {480, 300}},
                                            {{1920, 1200}, {1920, 1200}},
                                            {{1000, 1000}, {1000, 625}},
                                            {{500, 1}, {500, 313}},
                                            {{-1, -1}, {480, 300}},
                                            {{INT_MAX, 1}, {3840, 2400}}}) {
        auto [width, height] = asked;
        EXPECT_EQ(p.plug.ConstrainEditorResize(width, height), asked == given);
        EXPECT_EQ(Size(width, height), given) << asked.first << " x " << asked.second;
    }
    p.plug.OnParentWindowResize(0, 500);
    EXPECT_EQ(p.plug.GetEditorWidth(), 960);
    p.plug.OnParentWindowResize(1200, 750);
    EXPECT_EQ(p.plug.GetEditorHeight(), 750);
}

} // namespace
