#include "tests/support/Screen.h"
#include "tests/support/Test.h"

namespace {

constexpr Pixel kPurple = {139, 92, 246}, kOrange = {249, 115, 22}, kGreen = {34, 197, 94};
constexpr Pixel kBackground = {13, 13, 13}, kPanel = {20, 20, 20};
constexpr Pixel kBand = {43, 30, 20}; ///< the first band's orange over the panel, alpha 26

bool isNear(Pixel a, Pixel b, int tolerance) {
    return std::abs(a.red - b.red) <= tolerance && std::abs(a.green - b.green) <= tolerance &&
           std::abs(a.blue - b.blue) <= tolerance;
}

struct Probe {
    const char* what;
    ui::Point at;
    Pixel colour;
    int tolerance = 4; ///< rasterisers round differently
};

/// Half size, so that a pixel is two units wide and software draws it fast enough.
class Pixels : public testing::Test {
protected:
    /// The picture comes to show all of them.
    void expectAll(const char* when, const std::vector<Probe>& probes) {
        for (const Probe& probe : probes) {
            Pixel seen;
            const auto isShown = [&] {
                seen = editor.hand.pixel(probe.at);
                return isNear(seen, probe.colour, probe.tolerance);
            };
            EXPECT_TRUE(eventually(isShown, std::chrono::seconds(5)))
                << when << ": " << probe.what << " is " << seen.red << ' ' << seen.green << ' '
                << seen.blue;
        }
    }

    support::XServer server{support::XServer::Drawing::Software};
    support::Screen screen;
    support::Track track, peer, third;
    support::OpenEditor editor{screen, track, {480, 300}};
    shm::RegistryMonitor registry;
};

TEST_F(Pixels, ShowTheStateOfBothTracks) {
    support::Hand& hand = editor.hand;
    ASSERT_TRUE(registry.Attach());
    support::Stereo tone; // would go far beyond the top of a panel
    for (int i = 0; i < 16384; ++i)
        tone.left.push_back(20 * std::sin(2 * M_PI * 632.5 / 48000 * i));
    tone.right = tone.left;
    // clang-format off
    expectAll("alone", {
        {"background", {480, 590}, kBackground}, {"registry dot", {944, 21}, kGreen},
        {"logo", {12, 14}, {255, 140, 0}}, {"knob panel", {480, 540}, kPanel},
        {"own bypass, off", {544, 16}, kBackground}, {"own duck, on", {584, 16}, kPurple},
        {"peer's bypass, off", {554, 260}, kBackground},
        {"peer's duck, on but not paired", {594, 260}, kBackground},
        {"dot of a peer's knob without a peer", {881, 529}, kOrange, 40},
        {"band without sound", {480, 200}, kBand}, {"no peer, no band", {480, 460}, kPanel},
    });

    hand.click({603, 21});
    ASSERT_TRUE(registry.Pair(track.id(), peer.id()));
    track.start(48000.0);
    peer.start(48000.0);
    peer.play(tone, 512);
    track.play(tone, 512);
    // Halfway down, alpha 80 of the side's colour, and the band over it.
    expectAll("paired, both sound", {
        {"own tone", {480, 139}, {77, 50, 84}}, {"beside it", {150, 120}, kBand},
        {"peer's tone", {480, 383}, {108, 56, 21}}, {"beside it", {150, 364}, kBand},
        {"own duck, off", {584, 16}, kBackground}, {"peer's duck, on", {594, 260}, kOrange},
        {"no reduction", {200, 38}, kBand},
    });
    const auto isClean = [&](float y) { // no trace of a spectrum
        for (float x = 0; x < 960; x += 2)
            if (!isNear(hand.pixel({x, y}), kBackground, 4))
                return false;
        return true;
    };
    for (const float y : {32.0F, 246.0F, 276.0F, 490.0F}) // above and below both panels
        EXPECT_TRUE(isClean(y)) << y;

    hand.click({603, 21});
    hand.click({556, 21});
    hand.click({566, 265});
    expectAll("bypassed", {{"own", {544, 16}, kPurple}, {"peer's", {554, 260}, kOrange}});
    hand.click({556, 21});
    hand.click({566, 265});
    for (const char* bands : {"one band ducks", "two bands duck"}) {
        editor.settle();
        peer.play(support::noise(16384, 100.0, 2), 512);
        track.play(support::noise(16384, 0.0, 1), 512);
        expectAll(bands, { // 24 dB and more: 84 units from alpha 216 to 48, four units down 208
            {"curtain", {200, 38}, {216, 58, 56}}, {"its end", {200, 130}, kBand}});
        hand.click({640, 200}, support::Hand::Right);
        hand.move({480, 590});
    }

    ASSERT_TRUE(registry.Pair(third.id(), peer.id())); // taken away
    hand.click({176, 20});
    expectAll("renaming", {
        {"name field", {250, 28}, {32, 24, 56}},
        {"ratio handle under the curtain, clear of the edge's reach", {624, 98}, {225, 92, 28}, 30},
        {"peer's duck without a peer", {594, 260}, kBackground},
    });
    hand.click({148, 264});
    hand.move({480, 590});
    expectAll("list open", {{"list", {280, 292}, {26, 26, 34}}, {"name field", {250, 28}, kBackground}});
    hand.click({480, 200}, support::Hand::Left, 2);
    hand.move({68, 540});
    expectAll("pointing at a knob, a band disabled", {
        {"tooltip, up right of the pointer", {90, 518}, {43, 43, 57}},
        {"band, a third as strong", {300, 100}, {28, 23, 20}, 8},
    });
    // clang-format on
}

} // namespace
