#include "tools/editor/EditorWindow.h"

#include "tools/common/Failure.h"

#include <utility>

namespace editor {
namespace {

/// What X can hold, with room to spare.
constexpr std::uint32_t kMaxPixels = 16384;

/// How long a window manager may take to carry out a resize. Sizes reported meanwhile are older
/// ones: taking them for the user's would undo what the plug-in is doing.
constexpr std::chrono::milliseconds kResizeTime{200};

bool isPossible(host::GuiSize size) {
    return size.width > 0 && size.width <= kMaxPixels && size.height > 0 &&
           size.height <= kMaxPixels;
}

} // namespace

EditorWindow::EditorWindow(host::Instance& shown) : instance(shown), gui(shown) {}

/// Two constructors, so that the destructor runs also when this one throws.
EditorWindow::EditorWindow(XServer& server, host::Instance& shown, const Appearance& appearance)
    : EditorWindow(shown) {
    if (!gui.isApiSupported(CLAP_WINDOW_API_X11))
        tools::fail("the plug-in has no X11 editor");
    listen();
    open(server, appearance);
}

EditorWindow::~EditorWindow() {
    gui.destroy();
    instance.callbacks().gui() = {};
}

void EditorWindow::listen() {
    host::GuiHandlers& handlers = instance.callbacks().gui();
    handlers.requestResize = [this](std::uint32_t width, std::uint32_t height) {
        return request({width, height});
    };
    handlers.requestShow = handlers.requestHide = [] { return false; };
    handlers.closed = [this](bool) { gone = true; };
}

void EditorWindow::open(XServer& server, const Appearance& appearance) {
    if (!gui.create())
        tools::fail("the plug-in refused to create its editor");
    if (appearance.scale)
        gui.setScale(*appearance.scale);
    const auto size = gui.size();
    if (!size || !isPossible(*size))
        tools::fail("the plug-in's editor has no size");
    followed = *size;
    window.emplace(server, appearance.title, appearance.x, *size, sizeRules(*size));
    if (!gui.setParent(window->id()))
        tools::fail("the plug-in's editor did not open");
    gui.show();
}

SizeRules EditorWindow::sizeRules(host::GuiSize size) const {
    if (!gui.canResize())
        return {size, size, {}};
    const auto hints = gui.resizeHints();
    SizeRules rules;
    rules.least = gui.adjustSize({1, 1}).value_or(host::GuiSize{1, 1});
    rules.most =
        gui.adjustSize({kMaxPixels, kMaxPixels}).value_or(host::GuiSize{kMaxPixels, kMaxPixels});
    if (hints && hints->preserve_aspect_ratio)
        rules.aspect = {hints->aspect_ratio_width, hints->aspect_ratio_height};
    return rules;
}

bool EditorWindow::update() {
    if (const auto wanted = takeRequest())
        followPlugin(*wanted);
    else
        followUser();
    return !window->isCloseAsked() && !gone;
}

bool EditorWindow::request(host::GuiSize size) {
    if (!isPossible(size))
        return false;
    const std::lock_guard lock(requestMutex);
    requested = size;
    return true;
}

std::optional<host::GuiSize> EditorWindow::takeRequest() {
    const std::lock_guard lock(requestMutex);
    return std::exchange(requested, std::nullopt);
}

void EditorWindow::followPlugin(host::GuiSize wanted) {
    followed = wanted;
    quietUntil = Clock::now() + kResizeTime;
    window->resize(wanted);
}

/// Also when a window manager made another size of the one the plug-in wanted. A manager that
/// refuses the adjusted size too reports nothing new, and that is the end of it.
void EditorWindow::followUser() {
    const host::GuiSize size = window->size();
    if (size == followed || Clock::now() < quietUntil)
        return;
    followed = size;
    const host::GuiSize fit = gui.adjustSize(size).value_or(size);
    gui.setSize(fit);
    if (fit != size)
        window->resize(fit);
}

} // namespace editor
