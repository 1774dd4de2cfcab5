// The editor never harms its host, whatever the host or the X server does to it.
#include "tests/editor/OpenEditor.h"
#include "tests/shm/RawSegment.h"

#include <X11/Xlib.h>

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <optional>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
using support::eventually;
using support::Hand;
using support::OpenEditor;
using support::Track;
using Id = support::Screen::Id;

constexpr ui::Point kName = {176, 20}, kKnob = {158, 540};
constexpr host::GuiSize kSmall = {480, 300};

double msOf(const std::function<void()>& call) {
    const auto start = Clock::now();
    call();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

void pauseMs(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

/// The instance processes, and no X error has come to the host.
void expectAlive(Track& track) {
    track.start(48000.0);
    EXPECT_GT(support::rms(track.play(support::noise(4096, 0.5, 1), 512)), 0.1);
    EXPECT_EQ(support::Screen::strayErrors(), 0);
}

/// As a user's xkill.
void killClientOf(Id window) {
    Display* const display = XOpenDisplay(nullptr);
    XKillClient(display, window);
    XCloseDisplay(display);
}

/// The folder of the editor's thread, while there is one.
std::filesystem::path editorThread() {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        std::getline(std::ifstream(task.path() / "comm"), name);
        if (name == "tessella-editor")
            return task.path();
    }
    return {};
}

class EditorLifetime : public testing::Test {
protected:
    support::XServer server{support::XServer::Drawing::Software};
    std::optional<support::Screen> screen{std::in_place};
    Track track, second;
};

TEST_F(EditorLifetime, SurvivesWhatHappensToItsWindow) {
    struct Accident {
        const char* what;
        std::function<void(Id parent)> happens;
        int rounds = 1;
    };
    const Accident accidents[] = {
        {"parent destroyed first", [&](Id parent) { screen->closeWindow(parent); }, 3},
        {"and the editor left running",
         [&](Id parent) {
             screen->closeWindow(parent);
             pauseMs(1000);
         }},
        {"the editor's client killed", [&](Id parent) { killClientOf(screen->editorIn(parent)); },
         10},
        {"and the editor left running",
         [&](Id parent) {
             killClientOf(screen->editorIn(parent));
             pauseMs(1000); // its thread has ended; GL's own are left behind
         }},
        {"the host's connection closed first", [&](Id) { screen.reset(); }}};
    for (const auto& [what, happens, rounds] : accidents)
        for (int round = 0; round < rounds; ++round) {
            SCOPED_TRACE(what);
            host::Gui gui(track.instance);
            const Id parent = screen->openWindow(kSmall);
            ASSERT_TRUE(gui.create() && gui.setParent(parent));
            const Hand drawn(*screen, parent);
            pauseMs(200 + 7 * round); // into a frame, or between two
            happens(parent);
            EXPECT_LT(msOf([&] { gui.destroy(); }), 15000);
            expectAlive(track);
        }
}

TEST_F(EditorLifetime, NeedsNoWindowNorOrderOfCalls) {
    Display* const display = XOpenDisplay(nullptr);
    const Id parent = screen->openWindow(kSmall);
    host::Gui gui(track.instance);
    EXPECT_FALSE(gui.show()) << "without parent";
    ASSERT_TRUE(gui.create());
    EXPECT_FALSE(gui.setParent(0));
    for (const Id odd : {Id{0x12345678}, Id{1}, DefaultRootWindow(display), parent}) {
        EXPECT_TRUE(gui.setParent(odd));
        pauseMs(300);
    }
    for (int i = 0; i < 50; ++i) {
        EXPECT_TRUE(gui.hide() && gui.show());
        pauseMs(i % 10);
    }
    const Hand shown(*screen, parent);
    const auto& table = *track.instance.extension<clap_plugin_gui_t>(CLAP_EXT_GUI);
    table.destroy(track.instance.plugin());
    gui.destroy();
    EXPECT_EQ(screen->editorIn(parent), 0U);
    {
        const Track gone; // ends with its editor open
        const clap_plugin_t* const plugin = gone.instance.plugin();
        clap_window_t window{.api = CLAP_WINDOW_API_X11, .x11 = parent};
        EXPECT_TRUE(table.create(plugin, window.api, false) && table.set_parent(plugin, &window));
        const Hand open(*screen, parent);
    }
    EXPECT_EQ(screen->editorIn(parent), 0U);
    XCloseDisplay(display);
    unsetenv("DISPLAY");
    EXPECT_TRUE(gui.create() && gui.setParent(parent)) << "no display, no window, no harm";
    EXPECT_TRUE(eventually([] { return editorThread().empty(); }));
    gui.destroy();
    expectAlive(track);
}

TEST_F(EditorLifetime, SurvivesTheXServer) {
    screen.reset(); // this host has no connection of its own, and windows of another process
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t other = fork();
    if (other == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        support::Screen its;
        const Id windows[] = {its.openWindow(kSmall), its.openWindow(kSmall, 500)};
        bool told = write(ends[1], windows, sizeof windows) == sizeof windows;
        for (const Id window : windows)
            told = told && eventually([&] { return its.editorIn(window) != 0; });
        told = told && write(ends[1], "", 1) == 1;
        pause();
    }
    Id windows[2];
    ASSERT_EQ(read(ends[0], windows, sizeof windows), ssize_t{sizeof windows});
    host::Gui gui(track.instance), secondGui(second.instance);
    ASSERT_TRUE(gui.create() && secondGui.create());
    ASSERT_TRUE(gui.setParent(windows[0]) && secondGui.setParent(windows[1]));
    char open = 0;
    ASSERT_EQ(read(ends[0], &open, 1), 1);
    pauseMs(1000); // drawing
    server.stop();
    pauseMs(1000);
    gui.destroy();
    secondGui.destroy();
    expectAlive(track);
    kill(other, SIGKILL);
    waitpid(other, nullptr, 0);
}

TEST_F(EditorLifetime, LeavesTheHostAsItWas) {
    struct Host {
        XErrorHandler onError;
        XIOErrorHandler onBroken;
        std::string locale, modifiers, signals;
        bool operator==(const Host&) const = default;
        static Host now() {
            Host host{XSetErrorHandler(nullptr),
                      XSetIOErrorHandler(nullptr),
                      setlocale(LC_ALL, nullptr),
                      XSetLocaleModifiers(nullptr),
                      {}};
            XSetErrorHandler(host.onError);
            XSetIOErrorHandler(host.onBroken);
            std::ifstream status("/proc/self/status"); // masks and dispositions
            for (std::string line; std::getline(status, line);)
                if (line.starts_with("Sig") && !line.starts_with("SigQ"))
                    host.signals += line + ' ';
            return host;
        }
    };
    setenv("XMODIFIERS", "@im=none", 1);
    XSetLocaleModifiers("");
    XSetIOErrorHandler([](Display*) { return 0; });
    const Host before = Host::now();
    for (int round = 0; round < 4; ++round) {
        OpenEditor editor(*screen, track, kSmall), other(*screen, second, kSmall, 500);
        editor.settle();
        std::ifstream status(editorThread() / "status");
        std::string line;
        while (std::getline(status, line) && !line.starts_with("SigBlk")) {
        }
        const auto blocked = std::stoull(line.substr(7), nullptr, 16);
        for (const int signal : {SIGTERM, SIGINT, SIGPIPE, SIGALRM, SIGUSR1})
            EXPECT_TRUE(blocked >> (signal - 1) & 1) << "the host's: " << signal;
        if (round == 3) {
            killClientOf(editor.hand.window());
            killClientOf(other.hand.window());
            pauseMs(1000);
        }
    }
    const Host after = Host::now();
    EXPECT_EQ(after, before) << after.modifiers << after.signals << before.signals;
}

} // namespace
