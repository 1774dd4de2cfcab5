// The editor never harms its host, whatever the host or the X server does to it.
#include "tests/support/Screen.h"

#include <gtest/gtest.h> // ahead of Xlib's macros

#include <X11/Xlib.h> // ahead of the names that Test.h opens

#include "tests/support/Test.h"

#include <clocale>
#include <csignal>
#include <malloc.h>
#include <sys/wait.h>

namespace {

using Id = support::Screen::Id;

constexpr GuiSize kSmall = {480, 300};

double msOf(const std::function<void()>& call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

void pauseMs(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

/// From a connection that is nobody's.
void onServer(int (*call)(Display*, Id), Id window) {
    Display* const display = XOpenDisplay(nullptr);
    call(display, window);
    XCloseDisplay(display);
}

std::ptrdiff_t entries(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

/// The folders of this process' threads, oldest first.
std::vector<std::filesystem::path> allThreads() {
    return {std::filesystem::directory_iterator("/proc/self/task"), {}};
}

std::string linesOf(const std::filesystem::path& file, const char* beginning) {
    std::string lines;
    std::ifstream all(file);
    for (std::string line; std::getline(all, line);)
        lines += line.starts_with(beginning) ? line + '\n' : "";
    return lines;
}

class EditorLifetime : public testing::Test {
protected:
    /// The host is there, the instance processes, and no X error has come to the host.
    ~EditorLifetime() override {
        track.start(48000.0);
        EXPECT_GT(support::rms(track.play(support::noise(4096, 0.5, 1), 512)), 0.1);
        EXPECT_EQ(support::Screen::strayErrors(), 0);
    }

    /// The folder of an editor's thread, while there is one. The threads of GL have its name, too:
    /// those of an editor come after its own, those of lost connections have stayed.
    [[nodiscard]] std::filesystem::path editorThread() const {
        for (const auto& thread : allThreads()) {
            std::string name;
            std::getline(std::ifstream(thread / "comm"), name);
            if (name == "tessella-editor" && std::ranges::find(older, thread) == older.end())
                return thread;
        }
        return {};
    }

    const std::vector<std::filesystem::path> older = allThreads();
    support::XServer server{support::XServer::Drawing::Nothing};
    std::optional<support::Screen> screen{std::in_place};
    Track track, second;
};

TEST_F(EditorLifetime, LeavesTheKeyboardToTheHostHoweverItEnds) {
    struct End {
        const char* what;
        int rounds;
        std::function<void(OpenEditor&)> comes;
        bool parentStays;
    };
    const End ends[] = {
        {"closed", 1, [](OpenEditor& editor) { editor.gui.destroy(); }, true},
        {"killed", 6, [](auto& editor) { onServer(XKillClient, editor.hand.window()); }, true},
        {"hidden", 1, [](auto& editor) { onServer(XUnmapWindow, editor.window); }, false},
        {"parent gone", 2, [&](auto& editor) { screen->closeWindow(editor.window); }, false}};
    for (const auto& [what, rounds, comes, parentStays] : ends)
        for (int round = 0; round < rounds; ++round) {
            SCOPED_TRACE(what);
            OpenEditor editor(*screen, track, kSmall);
            editor.hand.click({176, 20}); // the name
            ASSERT_TRUE(eventually([&] { return screen->focus() == editor.hand.window(); }));
            ASSERT_TRUE(eventually([&] { return !screen->keyboardIsFree(); }));
            awaitFrames();
            pauseMs(3 * round); // into a frame or between two
            comes(editor);
            EXPECT_TRUE(eventually([&] { return screen->keyboardIsFree(); }));
            EXPECT_TRUE(
                eventually([&] { return (screen->focus() == editor.window) == parentStays; }));
            EXPECT_NE(screen->focus(), Id{None});
            pauseMs(round % 2 * 500); // closed at once, or left open for a while
            EXPECT_LT(msOf([&] { editor.gui.destroy(); }), 3000);
        }
}

TEST_F(EditorLifetime, SurvivesTheXServer) {
    screen.reset();
    auto& hosts = *new support::Screen; // nobody uses or closes it after its server has gone
    host::Gui gui(track.instance), secondGui(second.instance);
    const Id windows[] = {hosts.openWindow(kSmall), hosts.openWindow(kSmall, 500)};
    ASSERT_TRUE(gui.create() && gui.setParent(windows[0]));
    awaitFrames();
    ASSERT_TRUE(secondGui.create() && secondGui.setParent(windows[1]));
    const Hand visible(hosts, windows[0]), too(hosts, windows[1]);
    awaitFrames();
    const auto thread = editorThread();
    server.stop();
    EXPECT_TRUE(eventually([&] { return !exists(thread); }));
}

TEST_F(EditorLifetime, TakesAnyOrderOfCallsAndAnyWindow) {
    host::Gui gui(track.instance);
    EXPECT_FALSE(gui.show()) << "without parent";
    EXPECT_TRUE(gui.isApiSupported("x11"));
    EXPECT_FALSE(gui.isApiSupported("x11", true) || gui.isApiSupported("wayland"));
    ASSERT_TRUE(gui.create());
    EXPECT_FALSE(gui.setParent(0));
    const Id parent = screen->openWindow(kSmall);
    for (const Id odd : {Id{0x12345678}, Id{1}, parent}) {
        EXPECT_TRUE(gui.setParent(odd));
        pauseMs(300);
    }
    for (int i = 0; i < 10; ++i) {
        EXPECT_TRUE(gui.hide() && gui.show());
        pauseMs(20 * i); // before, while and after the window appears
    }
    const auto& table = *track.instance.extension<clap_plugin_gui_t>(CLAP_EXT_GUI);
    table.destroy(track.instance.plugin());
    gui.destroy();
    {
        const Track gone; // ends with its editor open
        auto& leaked = *new host::Gui(gone.instance);
        EXPECT_TRUE(leaked.create() && leaked.setParent(parent));
        const Hand visible(*screen, parent);
    }
    EXPECT_EQ(screen->editorIn(parent), 0U);
    unsetenv("DISPLAY");
    const auto threads = entries("/proc/self/task"); // not by name: GL's have it from ours
    EXPECT_TRUE(gui.create() && gui.setParent(parent)) << "no display, no window, no harm";
    EXPECT_TRUE(eventually([&] { return entries("/proc/self/task") <= threads; }));
}

TEST_F(EditorLifetime, LeavesTheHostAsItWasHoweverOftenItOpens) {
    struct Host {
        XErrorHandler onError = XSetErrorHandler(nullptr);
        XIOErrorHandler onBroken = XSetIOErrorHandler(nullptr);
        std::string locale = setlocale(LC_ALL, nullptr), modifiers = XSetLocaleModifiers(nullptr),
                    signals = linesOf("/proc/self/status", "Sig"); // mask and dispositions
        Host() {
            XSetErrorHandler(onError);
            XSetIOErrorHandler(onBroken);
            signals.erase(0, signals.find('\n')); // how many wait
        }
        bool operator==(const Host&) const = default;
    };
    setenv("XMODIFIERS", "@im=none", 1);
    XSetLocaleModifiers("");
    XSetIOErrorHandler([](Display*) -> int { std::abort(); });
    const Host before;
    constexpr int kCycles = 10;
    std::ptrdiff_t heapBytes = 0, threads = 0, descriptors = 0; // after some, then added by more
    for (int cycle = 1; cycle <= 2 * kCycles; ++cycle) {
        {
            const OpenEditor editor(*screen, track, kSmall), other(*screen, second, kSmall, 500);
            const std::string blocked = linesOf(editorThread() / "status", "SigBlk").substr(7);
            for (const int signal : {SIGTERM, SIGINT, SIGPIPE, SIGALRM, SIGUSR1})
                EXPECT_TRUE(std::stoull(blocked, nullptr, 16) >> (signal - 1) & 1) << signal;
        }
        if (cycle % kCycles != 0)
            continue;
        malloc_trim(0);
        heapBytes = static_cast<std::ptrdiff_t>(mallinfo2().uordblks) - heapBytes;
        threads = entries("/proc/self/task") - threads;
        descriptors = entries("/proc/self/fd") - descriptors;
    }
    EXPECT_TRUE(threads == 0 && descriptors == 0) << "connections, too";
#ifndef TD_SANITIZED // a sanitizer keeps freed memory on purpose
    // GL itself keeps up to 117 kB of each context; what draws an editor is several times as much.
    EXPECT_LT(heapBytes, 2 * kCycles * 200'000);
#endif
    OpenEditor editor(*screen, track, kSmall), other(*screen, second, kSmall, 500);
    for (OpenEditor* const killed : {&editor, &other}) {
        onServer(XKillClient, killed->hand.window());
        killed->gui.destroy();
    }
    EXPECT_EQ(Host(), before);
}

TEST_F(EditorLifetime, DrawsOnlyWhatHasChangedAndCanBeSeen) {
    OpenEditor editor(*screen, track);
    editor.settle();
    const auto framesDrawn = [&](const std::function<void()>& meanwhile) {
        const int before = support::sFramesDrawn;
        meanwhile();
        awaitFrames(60);
        return support::sFramesDrawn - before;
    };
    EXPECT_LE(framesDrawn([] {}), 5) << "late exposures at most, of 60";
    EXPECT_GT(framesDrawn([&] { editor.hand.move({158, 540}); }), 0) << "the knob's highlight";
    EXPECT_GT(framesDrawn([&] { track.set({{Attack, 5.0}}); }), 0);
    const auto play = [&] {
        track.start(48000.0);
        track.play(support::noise(48000, 0.5, 1), 512);
    };
    EXPECT_GT(framesDrawn(play), 0);
    onServer(XUnmapWindow, editor.window);
    awaitFrames();
    const int before = support::sFramesDrawn;
    play();
    EXPECT_GT(msOf([] { awaitFrames(30); }), 30 * 60) << "ten looks a second";
    EXPECT_EQ(support::sFramesDrawn, before);
    onServer(XMapWindow, editor.window);
    EXPECT_TRUE(eventually([&] { return support::sFramesDrawn > before; }));
}

TEST_F(EditorLifetime, GoesOnWhenTheRegistryIsStuck) {
    const pid_t holder = fork();
    if (holder == 0) {
        pthread_mutex_lock(raw::Segment().Mutex());
        _exit(0); // and nobody will ever unlock it
    }
    waitpid(holder, nullptr, 0);
    double openMs = 1e9, closeMs = 1e9; // at best: the machine may be busy
    for (int round = 0; round < 10 && std::max(openMs, closeMs) >= 300; ++round) {
        host::Gui gui(track.instance);
        const Id parent = screen->openWindow(kSmall);
        ASSERT_TRUE(gui.create());
        openMs = std::min(openMs, msOf([&] { gui.setParent(parent); }));
        const Hand visible(*screen, parent); // its first frame waits for the registry
        closeMs = std::min(closeMs, msOf([&] { gui.destroy(); }));
    }
    OpenEditor editor(*screen, track, kSmall);
    int atMostMs = 2000; // two that wait for half a second, the others hardly
    for (const GuiSize size : {GuiSize{500, 300}, GuiSize{520, 300}, GuiSize{540, 300}}) {
        screen->resizeWindow(editor.window, size);
        EXPECT_TRUE(eventually([&] { return screen->sizeOf(editor.hand.window()) == size; },
                               std::chrono::milliseconds(std::exchange(atMostMs, 300))));
    }
    EXPECT_LT(openMs, 300) << "the editor itself waits for 500";
    EXPECT_LT(closeMs, 300);
    raw::Segment().Put(raw::kMutex, std::array<char, 40>{}); // zero bytes are an unlocked one
    editor.settle();
    editor.hand.click({556, 21});
    EXPECT_TRUE(eventually([&] { return track.slot().bypass; })) << "all is well again";
}

} // namespace
