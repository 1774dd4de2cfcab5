#include "tests/support/Plugged.h"
#include "tests/support/Test.h"

namespace {

TEST(Instance, HasANameUnderANumberThatIsNeverReused) {
    int last = 0;
    for (int times = 0; times < 2; ++times) {
        Plugged p;
        const std::string name = p.slot().name;
        ASSERT_TRUE(name.starts_with("TessellaDuckwork #"));
        const int number = std::stoi(name.substr(18));
        EXPECT_TRUE(last == 0 || number == last + 1) << name;
        last = number;
        p.plug.SetInstanceName(nullptr);
        EXPECT_EQ(p.slot().name, name);
        p.plug.SetInstanceName(std::string(100, 'x').c_str());
        EXPECT_EQ(p.slot().name, std::string(63, 'x'));
    }
}

TEST(Instance, DeliberatelyStandsAtDefaultsForOneBusyBlock) {
    Plugged p;
    p.start();
    p.monitor.WriteHpLpOf(p.id, 100, 10000);
    p.block();
    p.monitor.WriteHpLpOf(p.id, 20, 10000);
    {
        const raw::HeldLock busy;
        p.block();
    }
    EXPECT_EQ(p.value(LP), 20000.0);
    EXPECT_EQ(p.told(), "") << "a stand-in is not the host's business";
    p.block();
    EXPECT_EQ(p.told(), "12=20 Hz 13=10000 Hz ");
}

TEST(Instance, PassesSoundThroughInBypass) {
    Plugged p;
    p.start();
    p.audio.input().fill(0.5);
    p.audio.input().set(0, 7, NAN);
    for (const bool bypassed : {true, false}) {
        p.monitor.SetBypassOf(p.id, bypassed);
        p.block();
        EXPECT_EQ(p.audio.output().get(1, 0), bypassed ? 0.5 : 0.0) << "bypass has no delay";
        EXPECT_EQ(p.audio.output().get(0, 7), 0.0) << "nor lets it pass what is no number";
    }
}

TEST(Instance, GlidesAtTheSamePaceInBlocksOfAnySizeAtAnyRate) {
    constexpr std::size_t kBefore = 4096, kTwoFrames = 2048;
    Plugged p;
    p.audio.input().fill(0.25);
    // Sizes that divide a hop: frames meet equal settings.
    for (const auto& [rate, before, after] :
         {std::tuple{48000.0, 1U, 64U}, {48000.0, 64U, 1U}, {44100.0, 1U, 1U}}) {
        p.instance.deactivate();
        p.plug.SetParam(Makeup, 0.0);
        ASSERT_TRUE(p.instance.activate(rate, 1, 64) && p.instance.startProcessing());
        std::vector<double> out;
        while (out.size() < 2 * kBefore) {
            if (out.size() == kBefore)
                p.automate(Makeup, 12.0);
            const std::uint32_t frames = out.size() < kBefore ? before : after;
            p.instance.process(p.audio, frames, p.in, p.sent);
            p.in.clear();
            for (std::uint32_t i = 0; i < frames; ++i)
                out.push_back(p.audio.output().get(0, i));
        }
        // The frame that ends n hops after the change has glided for n hops; its middle, where it
        // alone counts, comes out two frames after its first sample.
        for (const int hops : {1, 2, 3}) {
            const double db = 12 * (1 - std::exp(-hops * (512 / rate) / 0.03));
            EXPECT_NEAR(out[kBefore + kTwoFrames + 512 * std::size_t(hops - 1)],
                        0.25 * std::pow(10, db / 20), 1e-5)
                << rate << ", " << before << ", then " << after << ", hop " << hops;
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
    EXPECT_EQ(reinterpret_cast<const clap_event_param_gesture_t*>(few.at(0))->param_id,
              clap_id{HP});
    EXPECT_EQ(few.paramValueAt(1)->value, 0.25);
    EXPECT_EQ(few.paramValueAt(1)->note_id, -1);
    EXPECT_EQ(few.paramValueAt(2)->value, 3.0);
    EXPECT_EQ(fewer.at(0)->type, CLAP_EVENT_PARAM_GESTURE_END);
    EXPECT_EQ(fewer.paramValueAt(1)->param_id, clap_id{Makeup});
    EXPECT_EQ(p.told(), "13=20000 Hz ") << "what found no room, and nothing twice";
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
    const std::tuple<int, int, int> cases[] = {{0, 500, 960}, {1200, 750, 1200}, {99, 8001, 960}};
    for (const auto& [parentWidth, parentHeight, saved] : cases) {
        p.plug.OnParentWindowResize(parentWidth, parentHeight);
        EXPECT_EQ(get<std::uint32_t>(p.saved(), 354), saved) << "none that a state cannot have";
        EXPECT_EQ(get<std::uint32_t>(p.saved(), 358), saved * 5 / 8);
    }
    int asked = 0;
    p.callbacks.gui().requestResize = [&asked](auto...) { return ++asked > 1; };
    for (int times = 0; times < 3; ++times)
        p.plug.ResizeHostWindow(1200, 750);
    EXPECT_EQ(asked, 2) << "once more after a refusal";
}

} // namespace
