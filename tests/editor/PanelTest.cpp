#include "tests/support/Screen.h"
#include "tests/support/Test.h"

#include <X11/keysym.h>

namespace {

using ui::Point;

constexpr Point kName = {176, 20}, kHeader = {148, 264}, kNowhere = {480, 590};
constexpr Point kFirst = {148, 289}, kSecond = {148, 311}, kThird = {148, 333};

class Panel : public testing::Test {
protected:
    [[nodiscard]] GuiSize savedSize() const {
        const state::Record saved = savedBy(track).record;
        return {saved.editorWidthPx, saved.editorHeightPx};
    }
    /// The size that the host was asked for last.
    [[nodiscard]] GuiSize asked() const {
        const auto& log = track.instance.callbacks().calls();
        const auto calls = log.records(host::Callback::GuiRequestResize);
        return calls.empty() ? GuiSize{} : GuiSize{calls.back().value, calls.back().value2};
    }

    support::XServer server{support::XServer::Drawing::Nothing};
    support::Screen screen;
    Track track;
};

TEST_F(Panel, RenamesWhatIsTyped) {
    OpenEditor editor(screen, track);
    Hand& hand = editor.hand;
    struct Case {
        const char* how;
        bool empty; ///< at first
        std::string text;
        std::vector<unsigned long> keys;
        std::vector<Point> clicks;
        std::string name;
    };
    const Case cases[] = {
        {"Enter", true, "Bass 2", {XK_Return}, {}, "Bass 2"},
        {"a click elsewhere", false, "b", {}, {kNowhere}, "Bass 2b"},
        {"keypad", false, "", {XK_BackSpace, XK_KP_Enter}, {}, "Bass 2"},
        {"given up", false, "xyz", {XK_Escape}, {}, "Bass 2"},
        {"no name", true, "", {XK_Return}, {}, "Bass 2"},
        {"70 characters", true, std::string(70, 'n'), {XK_Return}, {}, std::string(60, 'n')},
        {"no text", true, "ab", {XK_Delete, XK_Tab, XK_Left, XK_F1, XK_Return}, {}, "ab"},
        {"a second click", false, "c", {}, {kName, kNowhere}, "abc"},
    };
    for (const auto& [how, empty, text, keys, clicks, name] : cases) {
        SCOPED_TRACE(how);
        hand.click(kName);
        editor.settle();
        EXPECT_FALSE(screen.keyboardIsFree());
        for (int i = 0; empty && i < 64; ++i)
            hand.key(XK_BackSpace);
        hand.type(text);
        for (const unsigned long key : keys)
            hand.key(key);
        for (const Point at : clicks)
            hand.click(at);
        editor.settle();
        EXPECT_TRUE(screen.keyboardIsFree());
        EXPECT_EQ(screen.focus(), editor.window);
        EXPECT_EQ(track.slot().name, name);
        EXPECT_EQ(savedBy(track).record.own.name.data(), name);
    }
    hand.type("d");
    editor.settle();
    EXPECT_STREQ(track.slot().name, "abc") << "typed without a click on the name";
}

/// Or what is typed there, a password perhaps, would be everybody's to read.
TEST_F(Panel, EndsARenameWhenTheFocusGoesElsewhere) {
    Track second;
    OpenEditor editor(screen, track), other(screen, second, {960, 600}, 960);
    const auto foreign = screen.openWindow({100, 100}, 0, 700), view = editor.hand.window();
    const auto begin = [&](bool hostTakesItBack) {
        editor.hand.click(kName);
        EXPECT_TRUE(eventually([&] { return screen.focus() == view; }));
        const auto hostLooks = [&] {
            if (hostTakesItBack && screen.focus() == view)
                screen.setFocus(editor.window);
        };
        for (const auto settled = Clock::now() + 500ms; Clock::now() < settled;)
            hostLooks();
        editor.settle(); // and has seen in a frame that the time is over
        hostLooks();
        EXPECT_EQ(screen.focus(), hostTakesItBack ? editor.window : view);
        EXPECT_TRUE(eventually([&] { return !screen.keyboardIsFree(); }));
    };
    const std::tuple<const char*, bool, Screen::Id> cases[] = {{"another program", false, foreign},
                                                               {"the host", false, editor.window},
                                                               {"refused", true, foreign},
                                                               {"the root", false, 1}};
    std::string name = track.slot().name;
    for (const auto& [what, hostTakesItBack, to] : cases) {
        SCOPED_TRACE(what);
        begin(hostTakesItBack);
        editor.hand.type("a");
        editor.settle();
        EXPECT_EQ(track.slot().name, name);
        screen.setFocus(to);
        EXPECT_TRUE(eventually([&] { return track.slot().name == name + 'a'; }));
        name += 'a';
        editor.hand.type("secret");
        editor.settle();
        EXPECT_EQ(track.slot().name, name);
        EXPECT_EQ(screen.focus(), to);
        EXPECT_TRUE(screen.keyboardIsFree());
    }

    EXPECT_TRUE(screen.grabKeyboard(foreign));
    editor.hand.click(kName);
    EXPECT_TRUE(eventually([&] { return screen.focus() == view; }));
    screen.ungrabKeyboard();
    EXPECT_TRUE(eventually([&] { return !screen.keyboardIsFree(); })) << "tried again";
    other.hand.click(kName);
    EXPECT_TRUE(eventually([&] { return screen.focus() == other.hand.window(); }));
    editor.settle(); // and has let go
    other.hand.type("b");
    other.hand.key(XK_Return);
    other.settle();
    EXPECT_EQ(track.slot().name, name);
    EXPECT_TRUE(std::string(second.slot().name).ends_with('b'));
    EXPECT_EQ(screen.focus(), other.window);
}

TEST_F(Panel, PairsWithTheEntryThatIsClicked) {
    Track kick, vocals;
    shm::RegistryMonitor registry;
    ASSERT_TRUE(registry.Attach() && registry.Rename(kick.id(), "Kick") &&
                registry.Rename(vocals.id(), "Vocals"));
    OpenEditor editor(screen, track);
    Hand& hand = editor.hand;
    const std::tuple<const char*, std::vector<Point>, Track*> cases[] = {
        {"closed list", {kFirst}, nullptr},
        {"below the list", {kHeader, kThird}, nullptr},
        {"closed by a second click", {kHeader, kHeader, kFirst}, nullptr},
        {"closed by a click elsewhere", {kHeader, kNowhere, kFirst}, nullptr},
        {"second entry", {kHeader, kSecond}, &vocals},
        {"closed by the choice", {kFirst}, &vocals},
        {"another", {kHeader, kFirst}, &kick},
    };
    for (const auto& [what, clicks, peer] : cases) {
        SCOPED_TRACE(what);
        for (const Point at : clicks)
            hand.click(at);
        editor.settle();
        EXPECT_EQ(track.slot().remoteId, peer != nullptr ? peer->id() : 0);
        for (const Track* other : {&kick, &vocals})
            EXPECT_EQ(other->slot().remoteId, other == peer ? track.id() : 0);
    }

    hand.click(kHeader);
    for (const float y : {300.0F, 324.0F}) // a gap, the list's edge
        for (const auto button : {Hand::Right, Hand::Left})
            hand.click({148, y}, button); // and the list stays open
    hand.click(kSecond);
    editor.settle();
    EXPECT_EQ(track.slot().remoteId, vocals.id());
    EXPECT_EQ(kick.slot().bandCount, 1) << "cut through the list";
}

TEST_F(Panel, AsksForTheSizeThatIsDragged) {
    struct Case {
        const char* what;
        GuiSize from;
        int x, y;
        float pull; ///< pixels, in two moves
        GuiSize to;
        bool (*answer)(const host::Gui&) = [](const host::Gui&) { return true; };
    };
    const auto refusal = [](const host::Gui&) { return false; };
    // On the thread that asks, and first with the old size.
    const auto question = [](const host::Gui& gui) {
        return gui.size() && gui.adjustSize({960, 600}) && gui.setSize({960, 600});
    };
    const Case cases[] = {
        {"a click", {960, 600}, 0, 0, 0, {960, 600}},
        // The height of a move follows from the size before it, truncated.
        {"600 + 600 · 50 / 960 = 631, 631 + 631 · 50 / 1010", {960, 600}, 0, 0, 100, {1060, 662}},
        {"less than a host is told of at once", {960, 600}, 0, 0, 4, {964, 602}},
        {"far left", {960, 600}, 0, 0, -900, {480, 300}},
        {"far right", {2400, 1500}, -1900, -400, 1400, {2880, 1800}},
        {"refused", {960, 600}, 0, 0, 160, {1120, 700}, refusal},
        {"answered while it asks", {960, 600}, 0, 0, 100, {1060, 662}, question},
    };
    for (const auto& [what, from, x, y, pull, to, answer] : cases) {
        SCOPED_TRACE(what);
        OpenEditor editor(screen, track, from, x, y);
        editor.settle();
        auto& callbacks = track.instance.callbacks();
        callbacks.calls().clear();
        callbacks.gui().requestResize = [&, reply = answer](auto width, auto height) {
            const bool taken = reply(editor.gui);
            if (taken)
                screen.resizeWindow(editor.window, {width, height});
            return taken;
        };
        const float zoom = static_cast<float>(from.width) / 960.0F;
        editor.hand.drag({944, 584}, {944 + pull / zoom, 584});
        if (pull == 0) { // what comes to nothing is over when the next click has had its effect
            editor.hand.click({556, 21});
            EXPECT_TRUE(eventually([&] { return track.slot().bypass; }));
        }
        EXPECT_TRUE(eventually([&, wanted = to, asks = pull != 0] {
            return savedSize() == wanted && screen.sizeOf(editor.hand.window()) == wanted &&
                   asked() == (asks ? wanted : GuiSize{});
        }));
        const GuiSize shown = answer == refusal ? from : to; // or its corner is out of reach
        EXPECT_TRUE(eventually([&] {
            return screen.sizeOf(editor.window) == shown &&
                   screen.sizeOf(editor.hand.window()) == shown;
        }));
        editor.gui.hide();
        callbacks.gui() = {};
        EXPECT_TRUE(savedSize() == to && editor.gui.size() == to) << "for the next opening";
    }
}

TEST_F(Panel, AsksForItsShapeWhenTheHostHasSettled) {
    track.instance.callbacks().gui().requestResize = [](auto, auto) { return true; };
    OpenEditor editor(screen, track, {700, 500}); // not the 960 × 600 that the track remembers
    for (const auto& [size, wanted] : {std::pair{GuiSize{700, 500}, GuiSize{960, 600}},
                                       {{600, 500}, {600, 375}},
                                       {{300, 900}, {480, 300}},
                                       {{1000, 600}, {1000, 625}}}) {
        // Whatever size lasts after a request is the host's answer, and not asked about.
        support::awaitFrames(61);
        screen.resizeWindow(editor.window, size);
        EXPECT_TRUE(eventually([&, to = wanted] { return asked() == to; }));
        EXPECT_EQ(savedSize(), wanted);
        EXPECT_EQ(screen.sizeOf(editor.hand.window()), size);
    }
    EXPECT_FALSE(screen.isFixed(editor.hand.window()));
    editor.gui.hide();
    EXPECT_EQ(savedSize(), (GuiSize{1000, 625})) << "for the next opening";
}

} // namespace
