#include "tests/support/Screen.h"
#include "tests/support/Test.h"

namespace {

using ui::Point;

/// Bands, filters, controls and the two flags; the rest does not matter here.
using Settings = shm::SlotSnapshot;

std::vector<float> numbersOf(const Settings& s) {
    std::vector<float> all{s.hpHz,     s.lpHz,          s.attackMs,       s.releaseMs,
                           s.makeupDb, float(s.bypass), float(s.duckSelf)};
    for (int i = 0; i < s.bandCount; ++i)
        all.insert(all.end(), {s.bands[i].loHz, s.bands[i].hiHz, s.bands[i].threshDb,
                               s.bands[i].ratio, float(s.bands[i].enabled)});
    return all;
}
void expectSame(const Settings& is, const Settings& should, const std::string& whose) {
    const auto numbers = numbersOf(is), expected = numbersOf(should);
    ASSERT_EQ(numbers.size(), expected.size()) << whose << " bands";
    for (std::size_t i = 0; i < numbers.size(); ++i)
        EXPECT_NEAR(numbers[i], expected[i], 1e-5F * std::max(1.0F, std::fabs(expected[i])))
            << whose << ", number " << i
            << " of two filters, three controls, two flags, five a band";
}

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
        // clang-format off
        const Point places[] = {
            {xOf(band.hiHz), top + 200}, {middle, top + 200}, // edge, body
            {middle, line}, {xOf(band.hiHz) - 15, line},      // threshold, ratio
            {xOf(now.hpHz), top + 9}, {xOf(now.lpHz), top + 9},
            {attackX + 90 * static_cast<float>(i), 540},
            bypass, {bypass.x + 47, bypass.y},
            {static_cast<float>(i), top + 200}};
        // clang-format on
        return places[grip];
    }
};

enum Act { Pull, Turn, TurnFinely, Twice, Click, RightClick, MiddleClick };

/// Pulls so far to the right, turns up, or clicks.
void perform(Hand& hand, Act act, Point at, float units = 0) {
    hand.shift(act == TurnFinely);
    if (act == Pull)
        hand.drag(at, {at.x + units, at.y});
    else if (act == Turn || act == TurnFinely)
        hand.drag(at, {at.x, at.y - units});
    else
        hand.click(at,
                   act == RightClick    ? Hand::Right
                   : act == MiddleClick ? Hand::Middle
                                        : Hand::Left,
                   act == Twice ? 2 : 1);
    hand.shift(false);
}

/// A track with an open editor, paired with another.
class Gestures : public testing::Test {
protected:
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
        expectNow();
    }
    void expectNow() const {
        expectSame(track.slot(), own.now, "own");
        expectSame(peerTrack.slot(), peer.now, "peer's");
    }
    /// As a peer's editor would.
    void write(const Track& to, const Settings& s) {
        const auto id = to.id();
        EXPECT_TRUE(registry.SetBypassOf(id, s.bypass) && registry.SetDuckSelfOf(id, s.duckSelf) &&
                    registry.WriteHpLpOf(id, s.hpHz, s.lpHz) != 0 &&
                    registry.WriteControlsOf(id, s.attackMs, s.releaseMs, s.makeupDb) != 0 &&
                    registry.WriteBandsOf(id, s.bands, s.bandCount) != 0);
    }
    void settle() {
        editor.settle();
        for (Track* const both : {&track, &peerTrack})
            both->play(silence, 512);
    }
    /// Does it and says what should have changed in `own` and `peer`: nothing else may change.
    void check(int bands, const std::function<void()>& act, const std::function<void()>& effect) {
        arrange(bands);
        act();
        settle();
        effect();
        expectNow();
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
    {"body", 3, Pull, 59, Body, 1, [](S s) { move(s, 0, s.bands[1].loHz * along(59)); move(s, 1, s.bands[1].hiHz * along(59)); }},
    {"body far right", 3, Pull, 900, Body, 2, [](S s) { move(s, 1, 20000 * s.bands[2].loHz / s.lpHz); s.bands[2].hiHz = 20000; }},
    {"threshold", 3, Turn, 10, Threshold, 1, [](S s) { s.bands[1].threshDb += 60 * 0.03F; }},
    {"ratio", 3, Turn, 10, Ratio, 2, [](S s) { s.bands[2].ratio += 19 * 0.03F; }},
    {"threshold twice", 3, Twice, 0, Threshold, 2, [](S s) { s.bands[2].threshDb = -20; }},
    {"ratio twice", 3, Twice, 0, Ratio, 2, [](S s) { s.bands[2].ratio = 4; }},
    {"second edge twice", 3, Twice, 0, Edge, 1, [](S s) { join(s, 1); }},
    {"body twice", 3, Twice, 0, Body, 1, [](S s) { s.bands[1].enabled = false; }},
    {"high-pass", 3, Pull, 40, HighPass, 0, [](S s) { s.bands[0].loHz = s.hpHz *= along(40); }},
    {"low-pass", 3, Pull, -40, LowPass, 0, [](S s) { s.bands[2].hiHz = s.lpHz *= along(-40); }},
    {"right click in the only band", 1, RightClick, 0, Free, 480, [](S s) { cut(s, 0, 20 * along(472)); }},
    {"right click in the second band", 2, RightClick, 0, Free, 700, [](S s) { cut(s, 1, 20 * along(692)); }},
    {"right click with three bands", 3, RightClick, 0, Free, 480, nothing},
    {"middle click", 3, MiddleClick, 0, Bypass, 0, nothing},
    {"release", 3, Turn, 10, Knob, 1, [](S s) { s.releaseMs = toStep(s.releaseMs + 0.03F * 1995, 1); }},
    {"makeup with Shift", 3, TurnFinely, 50, Knob, 2, [](S s) { s.makeupDb = toStep(s.makeupDb + 0.04F * 36, 0.1F); }},
    {"attack twice", 3, Twice, 0, Knob, 0, [](S s) { s.attackMs = 10; }},
    {"bypass", 3, Click, 0, Bypass, 0, [](S s) { s.bypass = true; }},
    {"duck", 3, Click, 0, Duck, 0, [](S s) { s.duckSelf = false; }},
};
// clang-format on

TEST_F(Gestures, OfTheMouseEditTheirSideAlone) {
    for (const Row& row : kOnBothSides)
        for (Side* const on : {&own, &peer}) {
            SCOPED_TRACE((on == &own ? "own " : "peer's ") + std::string(row.gesture));
            check(
                row.bands, [&] { perform(hand, row.act, on->at(row.grip, row.number), row.units); },
                [&] { row.effect(on->now); });
        }
    {
        SCOPED_TRACE("clicks that are no double click");
        const auto clickBodies = [this] {
            hand.click(own.at(Body, 1));
            hand.click(own.at(Body, 2));
            hand.click(own.at(Body, 0), Hand::Right); // which cuts none of three
            hand.click(own.at(Body, 0));
            std::this_thread::sleep_for(400ms);
            hand.click(own.at(Body, 0));
        };
        check(3, clickBodies, [] {});
    }
    SCOPED_TRACE("far above 2 kHz, where the parameter ends, and on from there");
    const auto pullTwice = [this] {
        perform(hand, Pull, own.at(Edge, 0), 450);
        move(own.now, 0, 200 * along(450));
        settle();
        hand.click({480, 590}); // so that the next press is no double click
        perform(hand, Pull, own.at(Edge, 0), -50);
    };
    check(2, pullTwice, [this] { move(own.now, 0, 200 * along(400)); });
}

/// Over the peer's knobs, too, the wheel turns this instance's parameters. Bands stay.
TEST_F(Gestures, OfTheWheelEditTheOwnParametersAlone) {
    arrange(3);
    auto params = savedBy(track).params;
    hand.scroll(own.at(Edge, 0), 1);
    hand.scroll(own.at(Edge, 1), -2);
    hand.scroll(own.at(LowPass, 0), -1);
    hand.scroll(own.at(Ratio, 2), -1);
    hand.scroll(own.at(Knob, 0), 1);
    hand.scroll(peer.at(Knob, 2), -1);
    hand.scroll(peer.at(Threshold, 1), 1);
    hand.scroll(own.at(Body, 1), 1);
    settle();
    params[FreqLow] = 200 + 19.8;
    params[FreqHigh] = 2000 - 2 * 195;
    params[LP] = own.now.lpHz = 10000 - 190;
    params[RatioHigh] = 6 - 0.19;
    params[Attack] = own.now.attackMs = toStep(20 + 2.999F, 0.1F);
    params[Makeup] = own.now.makeupDb = toStep(3 - 0.36F, 0.1F);
    const auto now = savedBy(track).params;
    for (std::size_t i = 0; i < params.size(); ++i)
        EXPECT_NEAR(now[i], params[i], 1e-5 * std::max(1.0, std::fabs(params[i]))) << i;
    own.now.bands[2].ratio = 6 - 0.19F; // published by the save
    expectNow();
}

/// Each editor shows what the other has done: the edge is gripped where it has come to.
TEST_F(Gestures, ReachThePeersEditorAndItsReachThisOne) {
    support::OpenEditor peers(screen, peerTrack, {960, 600}, 400, -100); // above the own
    arrange(1);
    const auto before = peerTrack.slot().bandsSeq;
    const auto expectEdge = [&](float x) {
        settle();
        peers.settle();
        move(peer.now, 0, 20 * along(x - 8));
        expectNow();
    };
    hand.click({480, 450}, Hand::Right);
    cut(peer.now, 0, 0);
    expectEdge(480);
    EXPECT_EQ(peerTrack.slot().bandsSeq, before + 1) << "by the editing side alone";
    peers.hand.drag({480, 200}, {539, 200});
    expectEdge(539);
    hand.drag({539, 450}, {480, 450});
    expectEdge(480);
}

} // namespace
