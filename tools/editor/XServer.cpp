#include "tools/editor/XServer.h"

#include "tools/render/Failure.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <algorithm>

namespace editor {
namespace {

constexpr unsigned long kBackground = 0x0D0D0D;

int toInt(std::uint32_t pixels) { return static_cast<int>(pixels); }

} // namespace

XServer::XServer() : mDisplay(XOpenDisplay(nullptr)) {
    if (mDisplay == nullptr)
        render::fail("cannot reach a display: is DISPLAY set?");
    mProtocols = XInternAtom(mDisplay, "WM_PROTOCOLS", False);
    mDeleteWindow = XInternAtom(mDisplay, "WM_DELETE_WINDOW", False);
    mName = XInternAtom(mDisplay, "_NET_WM_NAME", False);
    mUtf8 = XInternAtom(mDisplay, "UTF8_STRING", False);
}

XServer::~XServer() { XCloseDisplay(mDisplay); }

int XServer::fd() const { return ConnectionNumber(mDisplay); }

void XServer::dispatch() {
    while (XPending(mDisplay) > 0) {
        XEvent event;
        XNextEvent(mDisplay, &event);
        for (TopLevel* window : mWindows) {
            if (window->mId != event.xany.window)
                continue;
            if (event.type == ConfigureNotify)
                window->mSize = {static_cast<std::uint32_t>(event.xconfigure.width),
                                 static_cast<std::uint32_t>(event.xconfigure.height)};
            else if (event.type == ClientMessage && event.xclient.message_type == mProtocols)
                window->mCloseAsked |= static_cast<Atom>(event.xclient.data.l[0]) == mDeleteWindow;
        }
    }
}

TopLevel::TopLevel(XServer& server, const std::string& title, int x, host::GuiSize size,
                   const SizeRules& rules)
    : mServer(server), mSize(size) {
    Display* display = server.mDisplay;
    const int rightmost = DisplayWidth(display, DefaultScreen(display)) - toInt(size.width);
    mId = XCreateSimpleWindow(display, DefaultRootWindow(display),
                              std::clamp(x, 0, std::max(rightmost, 0)), 0, size.width, size.height,
                              0, 0, kBackground);
    XSelectInput(display, mId, StructureNotifyMask);
    XSetWMProtocols(display, mId, &server.mDeleteWindow, 1);
    setTitle(title);
    setRules(rules);
    XMapWindow(display, mId);
    // The plug-in uses the id over a connection of its own: the server must know it by then.
    XSync(display, False);
    server.mWindows.push_back(this);
}

TopLevel::~TopLevel() {
    std::erase(mServer.mWindows, this);
    XDestroyWindow(mServer.mDisplay, mId);
    XSync(mServer.mDisplay, False);
}

void TopLevel::setTitle(const std::string& title) {
    Display* display = mServer.mDisplay;
    XStoreName(display, mId, title.c_str());
    XChangeProperty(display, mId, mServer.mName, mServer.mUtf8, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(title.data()),
                    static_cast<int>(title.size()));
    char name[] = "tessella-editor";
    XClassHint hint{name, name};
    XSetClassHint(display, mId, &hint);
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
    XSetWMNormalHints(mServer.mDisplay, mId, &hints);
}

void TopLevel::resize(host::GuiSize size) {
    XResizeWindow(mServer.mDisplay, mId, size.width, size.height);
    XFlush(mServer.mDisplay);
}

} // namespace editor
