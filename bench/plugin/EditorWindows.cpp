#include "bench/plugin/EditorWindows.h"

#include <X11/Xlib.h>

namespace bench {

EditorWindows::EditorWindows(const std::vector<host::Instance*>& instances, int y)
    : display(XOpenDisplay(nullptr)) {
    if (display == nullptr)
        return;
    constexpr unsigned kWidth = 960, kHeight = 600;
    for (host::Instance* instance : instances) {
        const auto x = static_cast<int>(editors.size() * kWidth);
        const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), x, y, kWidth,
                                                  kHeight, 0, 0, 0);
        XMapWindow(display, window);
        XSync(display, False); // the plug-in uses the id over a connection of its own
        const auto& editor = editors.emplace_back(std::make_unique<host::Gui>(*instance));
        if (!editor->create() || !editor->setParent(window) || !editor->show())
            throw host::HostError("the editor does not open");
    }
}

EditorWindows::~EditorWindows() {
    editors.clear(); // before their parents
    if (display != nullptr)
        XCloseDisplay(display);
}

} // namespace bench
