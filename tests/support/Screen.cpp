#include "tests/support/Screen.h"

#include "tests/support/RawSegment.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace support {

/// Says its process's number and its display's, and dies with us.
static constexpr const char* kServer = "echo $$; exec setpriv --pdeathsig KILL Xvfb -displayfd 1 "
                                       "-screen 0 1920x1200x24 -noreset -nolisten tcp";

XServer::XServer(Drawing drawing) {
    sDrawsNothing = drawing == Drawing::Nothing;
    server = popen(kServer, "re");
    int number = 0;
    if (std::fscanf(server, "%d%d", &process, &number) != 2)
        throw std::runtime_error("Xvfb does not start");
    setenv("DISPLAY", (":" + std::to_string(number)).c_str(), 1);
    setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
    setenv("GALLIUM_DRIVER", "llvmpipe", 1);
    setenv("FONTCONFIG_FILE", TD_SCREEN_DIR "/fonts.conf", 1);
    setenv("MESA_SHADER_CACHE_DIR", TD_SCREEN_DIR, 1);
}

void XServer::stop() {
    if (server == nullptr)
        return;
    kill(process, SIGKILL);
    pclose(std::exchange(server, nullptr));
}

Screen::Screen() : display(XOpenDisplay(nullptr)) {
    if (display == nullptr)
        throw std::runtime_error("no display");
    XSynchronize(display, True);   // the plug-in has a connection of its own
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
    return window;
}

void Screen::closeWindow(Id window) { XDestroyWindow(display, window); }

void Screen::resizeWindow(Id window, host::GuiSize size) {
    XResizeWindow(display, window, size.width, size.height);
}

host::GuiSize Screen::sizeOf(Id window) {
    XWindowAttributes attributes;
    if (XGetWindowAttributes(display, window, &attributes) == 0 ||
        attributes.map_state != IsViewable)
        return {};
    return {std::uint32_t(attributes.width), std::uint32_t(attributes.height)};
}

bool Screen::isFixed(Id window) {
    XSizeHints hints{};
    long supplied = 0;
    XGetWMNormalHints(display, window, &hints, &supplied);
    return (hints.flags & PMaxSize) != 0;
}

Screen::Id Screen::editorIn(Id parent) {
    Id root = 0, above = 0;
    Id* children = nullptr;
    unsigned count = 0;
    if (XQueryTree(display, parent, &root, &above, &children, &count) == 0 || count == 0)
        return 0;
    const Id editor = children[0];
    XFree(children);
    return editor;
}

Screen::Id Screen::focus() {
    Id window = 0;
    int revert = 0;
    XGetInputFocus(display, &window, &revert);
    return window;
}

void Screen::setFocus(Id window) { XSetInputFocus(display, window, RevertToParent, CurrentTime); }

bool Screen::keyboardIsFree() {
    const bool free = grabKeyboard(DefaultRootWindow(display));
    ungrabKeyboard();
    return free;
}

bool Screen::grabKeyboard(Id from) {
    return XGrabKeyboard(display, from, False, GrabModeAsync, GrabModeAsync, CurrentTime) ==
           GrabSuccess;
}

void Screen::ungrabKeyboard() { XUngrabKeyboard(display, CurrentTime); }

void Screen::pointTo(Id window, int xPx, int yPx) {
    XWarpPointer(display, None, window, 0, 0, 0, 0, xPx, yPx);
}

void Screen::button(unsigned number, bool down) {
    XTestFakeButtonEvent(display, number, down, CurrentTime);
}

void Screen::click(unsigned number, int times) {
    XSynchronize(display, False); // all in one request to the server
    for (int i = 0; i < 2 * times; ++i)
        button(number, i % 2 == 0);
    XSync(display, False);
    XSynchronize(display, True);
}

void Screen::key(unsigned long keysym, bool down) {
    XTestFakeKeyEvent(display, XKeysymToKeycode(display, keysym), down, CurrentTime);
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

std::pair<int, int> Hand::placeOf(ui::Point at) const {
    const auto [width, height] = screen.sizeOf(child);
    const auto [zoom, offset] = ui::CanvasFit::of(float(width), float(height));
    return {int(std::lround((at.x + offset.x) * zoom)), int(std::lround((at.y + offset.y) * zoom))};
}

void Hand::move(ui::Point to) {
    const auto [x, y] = placeOf(to);
    screen.pointTo(child, x, y);
}

Pixel Hand::pixel(ui::Point at) {
    const auto [x, y] = placeOf(at);
    return screen.pixel(child, x, y);
}

void Hand::click(ui::Point at, Button button, int times) {
    move(at);
    screen.click(button, times);
}

void Hand::drag(ui::Point from, ui::Point to) {
    // Now: the drag itself may change the editor's size.
    const auto middle = placeOf({0.5F * (from.x + to.x), 0.5F * (from.y + to.y)});
    const auto end = placeOf(to);
    move(from);
    screen.button(Left, true);
    for (const auto& [x, y] : {middle, end})
        screen.pointTo(child, x, y);
    screen.button(Left, false);
}

void Hand::scroll(ui::Point at, int notches) {
    click(at, notches > 0 ? WheelUp : WheelDown, std::abs(notches));
}

void Hand::key(unsigned long keysym) {
    shift(keysym >= 'A' && keysym <= 'Z');
    screen.key(keysym, true);
    screen.key(keysym, false);
    shift(false);
}

void Hand::type(const std::string& ascii) {
    for (const char c : ascii)
        key(static_cast<unsigned long>(c));
}

void awaitFrames(int count) {
    constexpr float kMark = 12345.0F;
    constexpr std::size_t kBin = raw::Slot(0) + raw::kDisplayBins;
    for (int frame = 0; frame < count; ++frame) {
        raw::Segment().Put(kBin, kMark);
        if (!eventually([&] { return raw::Segment().Get<float>(kBin) != kMark; }))
            throw std::runtime_error("the editor draws no frame");
    }
}

} // namespace support
