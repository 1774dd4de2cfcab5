#include "bench/plugin/EditorWindows.h"

#include <X11/Xlib.h>

namespace bench {

EditorWindows::EditorWindows(const std::vector<host::Instance*>& instances)
    : mDisplay(XOpenDisplay(nullptr)) {
    if (mDisplay == nullptr)
        return;
    constexpr unsigned kWidth = 960, kHeight = 600;
    for (host::Instance* instance : instances) {
        const auto x = static_cast<int>(mEditors.size() * kWidth);
        const Window window = XCreateSimpleWindow(mDisplay, DefaultRootWindow(mDisplay), x, 0,
                                                  kWidth, kHeight, 0, 0, 0);
        XMapWindow(mDisplay, window);
        XSync(mDisplay, False); // the plug-in uses the id over a connection of its own
        const auto& editor = mEditors.emplace_back(std::make_unique<host::Gui>(*instance));
        if (!editor->create() || !editor->setParent(window) || !editor->show())
            throw host::HostError("the editor does not open");
    }
}

EditorWindows::~EditorWindows() {
    mEditors.clear(); // before their parents
    if (mDisplay != nullptr)
        XCloseDisplay(mDisplay);
}

} // namespace bench
