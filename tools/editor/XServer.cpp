#include "tools/editor/XServer.h"

#include "tools/common/Failure.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <algorithm>

namespace editor {
namespace {

constexpr unsigned long kBackground = 0x0D0D0D;

int toInt(std::uint32_t pixels) { return static_cast<int>(pixels); }

} // namespace

XServer::XServer() : display(XOpenDisplay(nullptr)) {
    if (display == nullptr)
        tools::fail("cannot reach a display: is DISPLAY set?");
    protocols = XInternAtom(display, "WM_PROTOCOLS", False);
    deleteWindow = XInternAtom(display, "WM_DELETE_WINDOW", False);
    netName = XInternAtom(display, "_NET_WM_NAME", False);
    utf8 = XInternAtom(display, "UTF8_STRING", False);
}

XServer::~XServer() { XCloseDisplay(display); }

int XServer::fd() const { return ConnectionNumber(display); }

void XServer::dispatch() {
    while (XPending(display) > 0) {
        XEvent event;
        XNextEvent(display, &event);
        for (TopLevel* window : windows) {
            if (window->windowId != event.xany.window)
                continue;
            if (event.type == ConfigureNotify)
                window->reported = {static_cast<std::uint32_t>(event.xconfigure.width),
                                    static_cast<std::uint32_t>(event.xconfigure.height)};
            else if (event.type == ClientMessage && event.xclient.message_type == protocols)
                window->closeAsked |= static_cast<Atom>(event.xclient.data.l[0]) == deleteWindow;
        }
    }
}

TopLevel::TopLevel(XServer& owner, const std::string& title, int x, host::GuiSize size,
                   const SizeRules& rules)
    : server(owner), reported(size) {
    Display* display = server.display;
    const int rightmost = DisplayWidth(display, DefaultScreen(display)) - toInt(size.width);
    windowId = XCreateSimpleWindow(display, DefaultRootWindow(display),
                                   std::clamp(x, 0, std::max(rightmost, 0)), 0, size.width,
                                   size.height, 0, 0, kBackground);
    XSelectInput(display, windowId, StructureNotifyMask);
    XSetWMProtocols(display, windowId, &server.deleteWindow, 1);
    setTitle(title);
    setRules(rules);
    XMapWindow(display, windowId);
    // The plug-in uses the id over a connection of its own: the server must know it by then.
    XSync(display, False);
    server.windows.push_back(this);
}

TopLevel::~TopLevel() {
    std::erase(server.windows, this);
    XDestroyWindow(server.display, windowId);
    XSync(server.display, False);
}

void TopLevel::setTitle(const std::string& title) {
    Display* display = server.display;
    XStoreName(display, windowId, title.c_str());
    XChangeProperty(display, windowId, server.netName, server.utf8, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(title.data()),
                    static_cast<int>(title.size()));
    char name[] = "tessella-editor";
    XClassHint hint{name, name};
    XSetClassHint(display, windowId, &hint);
}

void TopLevel::setRules(const SizeRules& rules) {
    XSizeHints hints{};
    hints.flags = PMinSize | PMaxSize;
    hints.min_width = toInt(rules.least.width);
    hints.min_height = toInt(rules.least.height);
    hints.max_width = toInt(rules.most.width);
    hints.max_height = toInt(rules.most.height);
    if (rules.aspect) {
        hints.flags |= PAspect;
        hints.min_aspect = {toInt(rules.aspect->width), toInt(rules.aspect->height)};
        hints.max_aspect = hints.min_aspect;
    }
    XSetWMNormalHints(server.display, windowId, &hints);
}

void TopLevel::resize(host::GuiSize size) {
    XResizeWindow(server.display, windowId, size.width, size.height);
    XFlush(server.display);
}

} // namespace editor
