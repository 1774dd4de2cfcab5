#include "tests/support/Screen.h"
#include "tests/support/Test.h"

#include <X11/keysym.h>
#include <numbers>

namespace {

using ui::Point;

constexpr double kRate = 48000.0;
constexpr std::size_t kFrames = 512, kLength = 48000 / kFrames * kFrames;

Stereo sines(double lowLevel, double highLevel) {
    Stereo sound;
    for (std::size_t i = 0; i < kLength; ++i) {
        const double t = 2.0 * std::numbers::pi * static_cast<double>(i) / kRate;
        sound.left.push_back(lowLevel * std::sin(60.0 * t) + highLevel * std::sin(3000.0 * t));
    }
    sound.right = sound.left;
    return sound;
}

Point middleOf(const ui::Rect& rect) { return {rect.x + rect.width / 2, rect.y + rect.height / 2}; }

void rename(OpenEditor& editor, const char* name) {
    editor.hand.click(middleOf(ui::kNameField));
    editor.settle(); // keys typed before it has the focus go to the other editor
    for (int i = 0; i < 64; ++i)
        editor.hand.key(XK_BackSpace);
    editor.hand.type(name);
    editor.hand.key(XK_Return);
    editor.settle();
}

/// Steps 3 to 7 of docs/quickstart.md, by mouse and keyboard.
void followTheQuickStart(OpenEditor& bass, OpenEditor& kick) {
    rename(bass, "Bass");
    rename(kick, "Kick");
    Hand& hand = bass.hand;
    hand.click(middleOf(ui::kDropdown));
    bass.settle();
    hand.click(middleOf(ui::dropdownEntry(0, 1)));
    bass.settle();
    hand.click(middleOf(ui::kPeerDuck));
    const float top = ui::kLocalAnalyzer.y;
    hand.click({ui::xOf(200), top + 180}, Hand::Right);
    const Point upperBody{ui::xOf(2000), top + 180};
    for (int click = 0; click < 2; ++click)
        hand.click(upperBody);
    const float middle = (ui::xOf(20) + ui::xOf(200)) / 2;
    hand.drag({middle, top + 20 * 3.5F}, {middle, top + 45 * 3.5F});
    bass.settle();
}

} // namespace

TEST(QuickStart, LetsTheLowsOfTheBassGiveWayAndNothingElse) {
    const support::XServer server{support::XServer::Drawing::Nothing};
    support::Screen screen;
    Track bass, kick;
    bass.start(kRate), kick.start(kRate);
    OpenEditor kickEditor(screen, kick, {480, 300}, 970), bassEditor(screen, bass);
    followTheQuickStart(bassEditor, kickEditor);

    const Stereo kickIn = sines(0.5, 0.1), bassIn = sines(0.25, 0.1);
    Stereo kickOut, bassOut;
    for (std::size_t at = 0; at < kLength; at += kFrames) {
        kick.block(kickIn, at, kFrames, kickOut);
        bass.block(bassIn, at, kFrames, bassOut);
    }
    const auto slot = bass.slot();
    EXPECT_STREQ(slot.name, "Bass");
    EXPECT_STREQ(kick.slot().name, "Kick");
    EXPECT_LT(slot.gainReduction[0], -6);
    EXPECT_EQ(slot.gainReduction[1], 0);
    EXPECT_LT(support::largestError(kickOut, kickIn, 2048, 1, kLength / 2), 1e-5);
    // What is left of the bass: its strings, of 0.1, and a little of its lows.
    EXPECT_NEAR(support::rms(bassOut, kLength / 2), 0.1 / std::numbers::sqrt2, 0.02);
}
