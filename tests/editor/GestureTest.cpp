#include "tests/editor/OpenEditor.h"
#include "tests/editor/Sides.h"

#include <functional>

namespace {

using support::expectSame;
using support::expectShown;
using support::Hand;
using support::peerIn;
using support::savedBy;
using support::Settings;
using support::Track;
using ui::Point;

/// What a frequency is multiplied with along so many canvas units: 944 are three decades.
float along(float units) { return std::pow(1000.0F, units / 944.0F); }
float xOf(float hz) { return 8.0F + 944.0F / 3.0F * std::log10(hz / 20.0F); }
float toStep(float value, float step) { return std::round(value / step) * step; }

/// Three bands, or fewer that reach as far; nothing is the same on both sides.
Settings settings(bool own, int bands) {
    const float edges[] = {own ? 50.0F : 100, own ? 200.0F : 300, own ? 2000.0F : 3000,
                           own ? 10000.0F : 12000};
    Settings s;
    s.bandCount = bands;
    for (int i = 0; i < bands; ++i)
        s.bands[i] = {edges[i], edges[i + 1 < bands ? i + 1 : 3],
                      (own ? -10.0F : -12.0F) * static_cast<float>(i + 1),
                      static_cast<float>((own ? 2 : 3) + 2 * i)};
    s.hpHz = edges[0], s.lpHz = edges[3];
    s.attackMs = own ? 20 : 40, s.releaseMs = own ? 200 : 400, s.makeupDb = own ? 3 : 6;
    s.duckSelf = true;
    return s;
}

enum Grip { Edge, Body, Threshold, Ratio, HighPass, LowPass, Knob, Bypass, Duck, Free };

struct Side {
    Settings now;
    float top;     ///< of its analyzer
    float attackX; ///< of its first knob
    Point bypass;

    /// Where the user grips number i of a kind; Free is i units from the left.
    [[nodiscard]] Point at(Grip grip, int i) const {
        const TDBand& band = now.bands[grip < HighPass ? i : 0];
        const float middle = 0.5F * (xOf(band.loHz) + xOf(band.hiHz));
        const float line = top - 3.5F * band.threshDb;
        const Point places[] = {{xOf(band.hiHz), top + 200},
                                {middle, top + 200},
                                {middle, line},
                                {xOf(band.hiHz) - 15, line},
                                {xOf(now.hpHz), top + 9},
                                {xOf(now.lpHz), top + 9},
                                {attackX + 90 * static_cast<float>(i), 540},
                                bypass,
                                {bypass.x + 47, bypass.y},
                                {static_cast<float>(i), top + 200}};
        return places[grip];
    }
};

enum Act { Pull, Turn, TurnFinely, Twice, Click, RightClick, MiddleClick };

/// Pulls to the right, turns up, or clicks so far to the right.
void perform(Hand& hand, Act act, Point at, float units) {
    const Point beside = {at.x + units, at.y};
    hand.shift(act == TurnFinely);
    if (act == Pull)
        hand.drag(at, beside);
    else if (act == Turn || act == TurnFinely)
        hand.drag(at, {at.x, at.y - units});
    else
        hand.click(beside, act == RightClick    ? Hand::Right
                           : act == MiddleClick ? Hand::Middle
                                                : Hand::Left);
    if (act == Twice)
        hand.click(beside);
    hand.shift(false);
}

/// A track with an open editor, paired with another.
class Gestures : public testing::Test {
protected:
    using Action = std::function<void()>;

    Gestures() {
        track.start(48000.0);
        peerTrack.start(48000.0);
        EXPECT_TRUE(registry.Attach() && registry.Pair(track.id(), peerTrack.id()));
    }
    /// Both sides at their starting settings, and everybody has heard of it.
    void arrange(int bands) {
        write(track, own.now = settings(true, bands));
        write(peerTrack, peer.now = settings(false, bands));
        settle();
        expectShown(track, own.now, "at first, own");
        expectShown(peerTrack, peer.now, "at first, peer's");
    }
    void settle() {
        editor.settle();
        track.play(silence, 512);
        peerTrack.play(silence, 512);
    }
    /// Does it and says what should have changed in `own` and `peer`: nothing else may change.
    void check(const std::string& gesture, int bands, const Action& act, const Action& effect) {
        SCOPED_TRACE(gesture);
        arrange(bands);
        const auto ownBefore = valuesOf(track);
        const auto peerBefore = valuesOf(peerTrack);
        const auto writesBefore = writesTo(peerTrack);
        const Settings memory = peerIn(savedBy(track).head);
        act();
        settle();
        effect();
        // Before the states are saved, which gives disabled bands their ratio back.
        expectEvents(track, ownBefore);
        expectEvents(peerTrack, peerBefore);
        expectShown(track, own.now, "own");
        expectShown(peerTrack, peer.now, "peer's");
        const bool edited = writesTo(peerTrack) != writesBefore; // then all of it is remembered
        expectSame(peerIn(savedBy(track).head), edited ? peer.now : memory, "remembered");
    }

    support::XServer server{support::XServer::Drawing::Nothing};
    support::Screen screen;
    Track track, peerTrack;
    shm::RegistryMonitor registry;
    // With room to drag to all sides.
    support::OpenEditor editor{screen, track, {960, 600}, 400, 500};
    Hand& hand = editor.hand;
    Side own{{}, 34, 68, {556, 21}};
    Side peer{{}, 278, 712, {566, 265}};

private:
    static std::vector<double> valuesOf(const Track& of) {
        std::vector<double> values;
        for (clap_id id = 0; id < kNumParams; ++id)
            values.push_back(of.hostValue(id));
        return values;
    }
    static std::uint64_t writesTo(const Track& of) {
        const Settings slot = of.slot().value();
        return slot.bandsSeq + slot.hpLpSeq + slot.controlsSeq;
    }
    /// The host hears of every parameter that is no longer what it was.
    static void expectEvents(const Track& of, const std::vector<double>& before) {
        std::vector<double> heard = before;
        for (std::uint32_t i = 0; i < of.sent.size(); ++i)
            if (const auto* event = of.sent.paramValueAt(i))
                heard.at(event->param_id) = event->value;
        for (clap_id id = 0; id < kNumParams; ++id)
            EXPECT_NEAR(heard[id], of.hostValue(id), 1e-9) << "event of parameter " << id;
    }
    const support::Stereo silence{std::vector<double>(512), std::vector<double>(512)};
};

using S = Settings&;
void nothing(S) {}
void move(S s, int edge, float hz) { s.bands[edge].hiHz = s.bands[edge + 1].loHz = hz; }
void cut(S s, int band, float hz) {
    s.bands[s.bandCount++] = s.bands[band];
    move(s, band, hz);
}
void join(S s, int edge) {
    s.bands[edge].hiHz = s.bands[edge + 1].hiHz;
    s.bands[edge + 1] = s.bands[2];
    --s.bandCount;
}

struct Row {
    const char* gesture;
    int bands;
    Act act;
    float units;
    Grip grip;
    int number;
    void (*effect)(S settings);
};
// clang-format off
constexpr Row kOnBothSides[] = {
    {"edge", 3, Pull, 59, Edge, 0, [](S s) { move(s, 0, s.bands[0].hiHz * along(59)); }},
    {"edge", 3, Pull, -59, Edge, 1, [](S s) { move(s, 1, s.bands[1].hiHz * along(-59)); }},
    {"edge to its left end", 3, Pull, -600, Edge, 0, [](S s) { move(s, 0, s.hpHz + 10); }},
    {"edge to its right end", 3, Pull, 800, Edge, 0, [](S s) { move(s, 0, s.bands[1].hiHz - 10); }},
    {"edge to its left end", 3, Pull, -600, Edge, 1, [](S s) { move(s, 1, s.bands[0].hiHz + 10); }},
    {"edge past the third band", 3, Pull, 800, Edge, 1, [](S s) { move(s, 1, 20000); }},
    {"edge above the parameter's range", 2, Pull, 400, Edge, 0, [](S s) { move(s, 0, s.bands[0].hiHz * along(400)); }},
    {"body", 3, Pull, 59, Body, 1, [](S s) { move(s, 0, s.bands[1].loHz * along(59)); move(s, 1, s.bands[1].hiHz * along(59)); }},
    {"body far left", 3, Pull, -900, Body, 0, [](S s) { move(s, 0, 20 * s.bands[0].hiHz / s.hpHz); s.bands[0].loHz = 20; }},
    {"body far right", 3, Pull, 900, Body, 2, [](S s) { move(s, 1, 20000 * s.bands[2].loHz / s.lpHz); s.bands[2].hiHz = 20000; }},
    {"threshold", 3, Turn, 10, Threshold, 1, [](S s) { s.bands[1].threshDb += 60 * 0.03F; }},
    {"threshold with Shift", 3, TurnFinely, -50, Threshold, 2, [](S s) { s.bands[2].threshDb -= 60 * 0.04F; }},
    {"threshold far down", 3, Turn, -400, Threshold, 0, [](S s) { s.bands[0].threshDb = -60; }},
    {"ratio", 3, Turn, 10, Ratio, 2, [](S s) { s.bands[2].ratio += 19 * 0.03F; }},
    {"ratio with Shift", 2, TurnFinely, 50, Ratio, 0, [](S s) { s.bands[0].ratio += 19 * 0.04F; }},
    {"ratio far up", 1, Turn, 400, Ratio, 0, [](S s) { s.bands[0].ratio = 20; }},
    {"threshold twice", 3, Twice, 0, Threshold, 2, [](S s) { s.bands[2].threshDb = -20; }},
    {"ratio twice", 3, Twice, 0, Ratio, 2, [](S s) { s.bands[2].ratio = 4; }},
    {"first edge twice", 3, Twice, 0, Edge, 0, [](S s) { join(s, 0); }},
    {"second edge twice", 3, Twice, 0, Edge, 1, [](S s) { join(s, 1); }},
    {"the only edge twice", 2, Twice, 0, Edge, 0, [](S s) { join(s, 0); }},
    {"body twice", 3, Twice, 0, Body, 1, [](S s) { s.bands[1].enabled = false; }},
    {"high-pass", 3, Pull, 40, HighPass, 0, [](S s) { s.bands[0].loHz = s.hpHz *= along(40); }},
    {"low-pass", 3, Pull, -40, LowPass, 0, [](S s) { s.bands[2].hiHz = s.lpHz *= along(-40); }},
    {"high-pass far right", 1, Pull, 800, HighPass, 0, [](S s) { s.bands[0].loHz = s.hpHz = 1000; }},
    {"low-pass far left", 1, Pull, -800, LowPass, 0, [](S s) { s.bands[0].hiHz = s.lpHz = 1000; }},
    {"right click in the only band", 1, RightClick, 0, Free, 480, [](S s) { cut(s, 0, 20 * along(472)); }},
    {"right click in the second band", 2, RightClick, 0, Free, 700, [](S s) { cut(s, 1, 20 * along(692)); }},
    {"right click within 10 Hz of the end", 1, RightClick, 10, HighPass, 0, nothing},
    {"right click with three bands", 3, RightClick, 0, Free, 480, nothing},
    {"middle click", 3, MiddleClick, 0, Bypass, 0, nothing},
    {"release", 3, Turn, 10, Knob, 1, [](S s) { s.releaseMs = toStep(s.releaseMs + 0.03F * 1995, 1); }},
    {"makeup with Shift", 3, TurnFinely, 50, Knob, 2, [](S s) { s.makeupDb = toStep(s.makeupDb + 0.04F * 36, 0.1F); }},
    {"attack far up", 3, Turn, 400, Knob, 0, [](S s) { s.attackMs = 300; }},
    {"attack twice", 3, Twice, 0, Knob, 0, [](S s) { s.attackMs = 10; }},
    {"release twice", 3, Twice, 0, Knob, 1, [](S s) { s.releaseMs = 100; }},
    {"makeup twice", 3, Twice, 0, Knob, 2, [](S s) { s.makeupDb = 0; }},
    {"bypass", 3, Click, 0, Bypass, 0, [](S s) { s.bypass = true; }},
    {"bypass twice", 3, Twice, 0, Bypass, 0, nothing},
    {"duck", 3, Click, 0, Duck, 0, [](S s) { s.duckSelf = false; }},
};
// clang-format on

TEST_F(Gestures, OfTheMouseEditTheirSideAlone) {
    for (const Row& row : kOnBothSides)
        for (Side* const on : {&own, &peer})
            check((on == &own ? "own " : "peer's ") + std::string(row.gesture), row.bands,
                  [&] { perform(hand, row.act, on->at(row.grip, row.number), row.units); },
                  [&] { row.effect(on->now); });
    const auto clickTwoBodies = [this] {
        hand.click(own.at(Body, 1));
        hand.click(own.at(Body, 2));
    };
    check("two clicks that are no double click", 3, clickTwoBodies, [] {});
}

/// Over the peer's knobs, too, the wheel turns this instance's parameters. Bands stay.
TEST_F(Gestures, OfTheWheelEditTheOwnParametersAlone) {
    struct Case {
        Side* over;
        Grip grip;
        int number, notches, param;
        float value;
        float Settings::*published;
    };
    // clang-format off
    const Case cases[] = {
        {&own, Edge, 0, 1, FreqLow, 200 + 19.8F, nullptr},
        {&own, Edge, 1, -2, FreqHigh, 2000 - 2 * 195, nullptr},
        {&own, Threshold, 1, 1, ThreshMid, -20 + 0.6F, nullptr},
        {&own, Ratio, 2, -1, RatioHigh, 6 - 0.19F, nullptr},
        {&own, HighPass, 0, 1, HP, 50 + 9.8F, &Settings::hpHz},
        {&own, LowPass, 0, -1, LP, 10000 - 190, &Settings::lpHz},
        {&own, Knob, 0, 1, Attack, toStep(20 + 2.999F, 0.1F), &Settings::attackMs},
        {&peer, Knob, 1, 1, Release, toStep(200 + 19.95F, 1), &Settings::releaseMs},
        {&peer, Knob, 2, -1, Makeup, toStep(3 - 0.36F, 0.1F), &Settings::makeupDb},
        {&own, Body, 1, 1, -1, 0, nullptr}, {&peer, Edge, 0, 1, -1, 0, nullptr},
        {&peer, Threshold, 1, 1, -1, 0, nullptr}, {&peer, HighPass, 0, 1, -1, 0, nullptr},
    };
    // clang-format on
    for (const auto& [over, grip, number, notches, param, value, published] : cases) {
        SCOPED_TRACE(&over - &cases[0].over);
        arrange(3);
        auto params = savedBy(track).params;
        hand.scroll(over->at(grip, number), notches);
        settle();
        if (param >= 0)
            params[std::size_t(param)] = value;
        if (published != nullptr)
            own.now.*published = value;
        const auto now = savedBy(track).params;
        for (std::size_t i = 0; i < params.size(); ++i)
            EXPECT_NEAR(now[i], params[i], 1e-5 * std::max(1.0, std::fabs(params[i]))) << i;
        expectSame(track.slot().value(), own.now, "own");
        expectShown(peerTrack, peer.now, "peer's");
    }
}

// What is not lost. Exact edges in the saved state are among the rows above.

TEST_F(Gestures, KeepTheExactEdgesThroughAReload) {
    arrange(2);
    perform(hand, Pull, own.at(Edge, 0), 450); // far above 2 kHz, where the parameter ends
    settle();
    move(own.now, 0, 200 * along(450));
    hand.click({480, 590});                    // so that the next press is no double click
    perform(hand, Pull, own.at(Edge, 0), -50); // and on from there
    settle();
    move(own.now, 0, 200 * along(400));
    Track reloaded;
    ASSERT_TRUE(host::loadState(reloaded.instance, host::saveState(track.instance).value()));
    support::OpenEditor(screen, reloaded).settle();
    expectShown(reloaded, own.now, "reloaded");
}

TEST_F(Gestures, LeaveThePeersFilterEditsToAStoppedHost) {
    arrange(3);
    ASSERT_NE(registry.WriteHpLpOf(track.id(), 300, 5000), 0U);
    editor.settle();
    own.now.hpHz = 300;
    own.now.lpHz = 5000;
    expectShown(track, own.now, "own");
}

TEST_F(Gestures, OfPeerKnobsComeBackWithAReloadAndNothingElse) {
    arrange(3);
    perform(hand, Turn, peer.at(Knob, 0), 10);
    perform(hand, Turn, peer.at(Knob, 1), 10); // remembered, and then taken back
    settle();
    perform(hand, Twice, peer.at(Knob, 1), 0);
    settle();
    peer.now.attackMs = toStep(40 + 0.03F * 299.9F, 0.1F);
    peer.now.releaseMs = 100;
    expectShown(peerTrack, peer.now, "edited");

    const auto saved = host::saveState(track.instance).value();
    EXPECT_STREQ(savedBy(track).head.peerName.data(), peerTrack.slot()->name);
    write(peerTrack, settings(true, 2)); // as if the peer had come from another project
    settle();
    ASSERT_TRUE(host::loadState(track.instance, saved));
    settle();
    expectShown(peerTrack, peer.now, "replayed");
}

} // namespace
