#include "tests/editor/OpenEditor.h"
#include "tests/editor/Sides.h"

#include <csignal>
#include <cstdio>
#include <new>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
using support::eventually;
using support::OpenEditor;
using support::Track;

/// What the other host shows of its one track: the editor's parent, the low split as parameter and
/// the first band's upper edge in the state, Hz.
struct Shown {
    std::atomic<support::Screen::Id> window;
    std::atomic<double> splitHz, savedHz;
};

/// The other host: plays all the time and looks after the state.
[[noreturn]] void runOtherHost(Shown& shown) noexcept { // an exception must not run more tests
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    support::Screen screen;
    Track track;
    track.start(48000.0);
    OpenEditor editor(screen, track, {960, 600}, 960);
    shown.window = editor.window;
    const support::Stereo silence{std::vector<double>(64), std::vector<double>(64)};
    for (;; std::this_thread::sleep_for(std::chrono::milliseconds(1))) {
        track.play(silence, 64);
        shown.splitHz = 20 + 1980 * track.hostValue(FreqLow);
        shown.savedHz = support::savedBy(track).head.bandFreqs[1];
    }
}

struct Effect {
    const char* what;
    std::function<bool()> isThere;
};
/// Prints how long after the gesture each came.
void expectAll(const char* gesture, const std::vector<Effect>& effects) {
    const auto from = Clock::now();
    for (const auto& [what, isThere] : effects) {
        EXPECT_TRUE(eventually(isThere)) << gesture << ": " << what;
        const std::chrono::duration<double, std::milli> time = Clock::now() - from;
        std::printf("%s: %s after %.0f ms\n", gesture, what, time.count());
    }
}

TEST(TwoHosts, PairAndEditEachOtherByMouse) {
    const support::XServer server(support::XServer::Drawing::Nothing);
    auto& other = *new (mmap(nullptr, sizeof(Shown), PROT_READ | PROT_WRITE,
                             MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Shown{};
    const pid_t process = fork(); // before this process has an X connection or a plug-in
    if (process == 0)
        runOtherHost(other);
    ASSERT_TRUE(eventually([&] { return other.window != 0; }));
    const std::uint64_t peer = support::activeSlots().at(0).id;
    const auto peerSlot = [&] { return support::activeSlot(peer).value(); };
    support::Screen screen;
    support::Hand otherHand(screen, other.window);
    Track track;
    OpenEditor editor(screen, track);
    editor.settle();

    editor.hand.click({148, 264});
    editor.hand.click({148, 289});
    expectAll("choosing", {{"the pair", [&] { return peerSlot().remoteId == track.id(); }}});
    editor.settle();

    const auto follows = [&](float units) -> std::vector<Effect> {
        const auto is = [hz = 20 * std::pow(1000, units / 944)](double value) {
            return std::fabs(value / hz - 1) < 1e-4;
        };
        return {{"the peer's slot", [=] { return is(peerSlot().bands[0].hiHz); }},
                {"its parameter", [=, &other] { return is(other.splitHz); }},
                {"its saved state", [=, &other] { return is(other.savedHz); }}};
    };
    auto effects = follows(472);
    // An editor that has taken foreign bands writes them, too.
    effects.push_back({"its editor", [&, before = peerSlot().bandsSeq] {
                           return peerSlot().bandsSeq == before + 2;
                       }});
    editor.hand.click({8 + 472, 450}, support::Hand::Right);
    expectAll("splitting", effects);
    // Each editor shows what the other has done: the edge is gripped where it has come to.
    otherHand.drag({8 + 472, 200}, {8 + 531, 200});
    expectAll("the peer's own drag", follows(531));
    editor.settle();
    editor.hand.drag({8 + 531, 450}, {8 + 472, 450});
    expectAll("dragging it back", follows(472));
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
}

} // namespace
