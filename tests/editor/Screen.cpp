#include "tests/editor/Screen.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace support {
namespace {

void setEnv(const char* name, const char* value) { setenv(name, value, 1); }

/// The child: an X server that writes its display's number to the descriptor and dies with us.
[[noreturn]] void runServer(int numberFd, pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(1);
    const std::string fd = std::to_string(numberFd);
    execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", "1920x1200x24", "-noreset",
           "-nolisten", "tcp", nullptr);
    _exit(1);
}

} // namespace

bool eventually(const std::function<bool()>& becomesTrue, std::chrono::milliseconds atMost) {
    const auto end = std::chrono::steady_clock::now() + atMost;
    while (!becomesTrue()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

XServer::XServer(Drawing drawing) {
    sDrawsNothing = drawing == Drawing::Nothing;
    setEnv("LIBGL_ALWAYS_SOFTWARE", "1");
    setEnv("GALLIUM_DRIVER", "llvmpipe");
    setEnv("FONTCONFIG_FILE", TD_EDITOR_TEST_DIR "/fonts.conf");
    setEnv("MESA_SHADER_CACHE_DIR", TD_EDITOR_TEST_DIR);
    int ends[2];
    if (pipe(ends) != 0)
        throw std::runtime_error("no pipe");
    const pid_t self = getpid();
    process = fork();
    if (process == 0)
        runServer(ends[1], self);
    close(ends[1]);
    std::string number;
    for (char c = 0; read(ends[0], &c, 1) == 1 && c != '\n';)
        number += c;
    close(ends[0]);
    if (number.empty())
        throw std::runtime_error("Xvfb does not start");
    setEnv("DISPLAY", (":" + number).c_str());
}

void XServer::stop() {
    if (process < 0)
        return;
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
    process = -1;
}

Screen::Screen() : display(XOpenDisplay(nullptr)) {
    if (display == nullptr)
        throw std::runtime_error("no display");
    static Display* own = nullptr; // errors of one's own are windows that have gone
    own = display;
    XSetErrorHandler([](Display* from, XErrorEvent*) {
        sStrayErrors += from != own;
        return 0;
    });
}

Screen::~Screen() { XCloseDisplay(display); }

Screen::Id Screen::openWindow(host::GuiSize size, int x, int y) {
    const Id window = XCreateSimpleWindow(display, DefaultRootWindow(display), x, y, size.width,
                                          size.height, 0, 0, 0);
    XMapWindow(display, window);
    XSync(display, False); // the plug-in uses the id over a connection of its own
    return window;
}

void Screen::closeWindow(Id window) {
    XDestroyWindow(display, window);
    XSync(display, False);
}

void Screen::resizeWindow(Id window, host::GuiSize size) {
    XResizeWindow(display, window, size.width, size.height);
    XSync(display, False);
}

host::GuiSize Screen::sizeOf(Id window) {
    XWindowAttributes attributes;
    if (XGetWindowAttributes(display, window, &attributes) == 0 ||
        attributes.map_state != IsViewable)
        return {};
    return {static_cast<std::uint32_t>(attributes.width),
            static_cast<std::uint32_t>(attributes.height)};
}

Screen::Id Screen::editorIn(Id parent) {
    Id root = 0;
    Id above = 0;
    Id found = 0;
    Id* children = nullptr;
    unsigned count = 0;
    if (XQueryTree(display, parent, &root, &above, &children, &count) == 0)
        return 0;
    for (unsigned i = 0; i < count; ++i) {
        XClassHint hint{};
        if (XGetClassHint(display, children[i], &hint) == 0)
            continue;
        if (std::string_view(hint.res_class) == "TessellaDuckwork")
            found = children[i];
        XFree(hint.res_name);
        XFree(hint.res_class);
    }
    XFree(children);
    return found;
}

Screen::Id Screen::focus() {
    Id window = 0;
    int revert = 0;
    XGetInputFocus(display, &window, &revert);
    return window;
}

bool Screen::keyboardIsFree() {
    const int answer = XGrabKeyboard(display, DefaultRootWindow(display), False, GrabModeAsync,
                                     GrabModeAsync, CurrentTime);
    XUngrabKeyboard(display, CurrentTime);
    XSync(display, False);
    return answer == GrabSuccess;
}

void Screen::pointTo(Id window, int xPx, int yPx) {
    int x = 0;
    int y = 0;
    Id below = 0;
    XTranslateCoordinates(display, window, DefaultRootWindow(display), xPx, yPx, &x, &y, &below);
    XTestFakeMotionEvent(display, -1, x, y, CurrentTime);
    XSync(display, False);
}

void Screen::button(unsigned number, bool down) {
    XTestFakeButtonEvent(display, number, down, CurrentTime);
    XSync(display, False);
}

void Screen::key(unsigned long keysym, bool down) {
    KeyCode code = XKeysymToKeycode(display, keysym);
    if (code == 0) { // not on the keyboard: takes the place of a key that is
        code = XKeysymToKeycode(display, XK_F12);
        XChangeKeyboardMapping(display, code, 1, &keysym, 1);
        XSync(display, False);
    }
    XTestFakeKeyEvent(display, code, down, CurrentTime);
    XSync(display, False);
}

Pixel Screen::pixel(Id window, int xPx, int yPx) {
    XImage* const image = XGetImage(display, window, xPx, yPx, 1, 1, AllPlanes, ZPixmap);
    if (image == nullptr)
        return {};
    const unsigned long value = XGetPixel(image, 0, 0);
    XDestroyImage(image);
    const auto channel = [value](int shift) { return static_cast<int>(value >> shift & 0xFFU); };
    return {channel(16), channel(8), channel(0)};
}

Hand::Hand(Screen& onScreen, Screen::Id parent) : screen(onScreen) {
    if (!eventually([&] {
            child = screen.editorIn(parent);
            return child != 0 && screen.sizeOf(child) == screen.sizeOf(parent);
        }))
        throw std::runtime_error("no editor");
}

Hand::Place Hand::placeOf(ui::Point at) const {
    const auto [width, height] = screen.sizeOf(child);
    const auto [zoom, offset] =
        ui::CanvasFit::of(static_cast<float>(width), static_cast<float>(height));
    return {static_cast<int>(std::lround((at.x + offset.x) * zoom)),
            static_cast<int>(std::lround((at.y + offset.y) * zoom))};
}

void Hand::move(ui::Point to) {
    const auto [x, y] = placeOf(to);
    screen.pointTo(child, x, y);
}

Pixel Hand::pixel(ui::Point at) {
    const auto [x, y] = placeOf(at);
    return screen.pixel(child, x, y);
}

void Hand::click(ui::Point at, Button button) {
    move(at);
    screen.button(button, true);
    screen.button(button, false);
}

void Hand::drag(ui::Point from, ui::Point to) {
    const Place middle = placeOf({0.5F * (from.x + to.x), 0.5F * (from.y + to.y)});
    const Place end = placeOf(to); // now: the drag itself may change the editor's size
    move(from);
    screen.button(Left, true);
    screen.pointTo(child, middle.x, middle.y);
    screen.pointTo(child, end.x, end.y);
    screen.button(Left, false);
}

void Hand::scroll(ui::Point at, int notches) {
    for (int i = 0; i < std::abs(notches); ++i)
        click(at, notches > 0 ? WheelUp : WheelDown);
}

void Hand::key(unsigned long keysym) {
    shift(keysym >= 'A' && keysym <= 'Z');
    screen.key(keysym, true);
    screen.key(keysym, false);
    shift(false);
}

void Hand::type(const std::string& ascii) {
    for (const char c : ascii)
        key(static_cast<unsigned char>(c));
}

} // namespace support
