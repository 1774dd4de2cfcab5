#include "tools/editor/EditorWindow.h"

#include "tools/render/Failure.h"

#include <utility>

namespace editor {
namespace {

/// What X can hold, with room to spare.
constexpr std::uint32_t kMostPixels = 16384;

/// How long a window manager may take to carry out a resize. Sizes reported meanwhile are older
/// ones: taking them for the user's would undo what the plug-in is doing.
constexpr std::chrono::milliseconds kResizeTime{200};

bool isPossible(host::GuiSize size) {
    return size.width > 0 && size.width <= kMostPixels && size.height > 0 &&
           size.height <= kMostPixels;
}

} // namespace

EditorWindow::EditorWindow(host::Instance& instance) : mInstance(instance), mGui(instance) {}

/// Two constructors, so that the destructor runs also when this one throws.
EditorWindow::EditorWindow(XServer& server, host::Instance& instance, const Appearance& appearance)
    : EditorWindow(instance) {
    if (!mGui.isApiSupported(CLAP_WINDOW_API_X11))
        render::fail("the plug-in has no X11 editor");
    listen();
    open(server, appearance);
}

EditorWindow::~EditorWindow() {
    mGui.destroy();
    mInstance.callbacks().gui() = {};
}

void EditorWindow::listen() {
    host::GuiHandlers& gui = mInstance.callbacks().gui();
    gui.requestResize = [this](std::uint32_t width, std::uint32_t height) {
        return request({width, height});
    };
    gui.requestShow = gui.requestHide = [] { return false; };
    gui.closed = [this](bool) { mGone = true; };
}

void EditorWindow::open(XServer& server, const Appearance& appearance) {
    if (!mGui.create())
        render::fail("the plug-in refused to create its editor");
    if (appearance.scale)
        mGui.setScale(*appearance.scale);
    const auto size = mGui.size();
    if (!size || !isPossible(*size))
        render::fail("the plug-in's editor has no size");
    mFollowed = *size;
    mWindow.emplace(server, appearance.title, appearance.x, *size, sizeRules(*size));
    if (!mGui.setParent(mWindow->id()))
        render::fail("the plug-in's editor did not open");
    mGui.show();
}

SizeRules EditorWindow::sizeRules(host::GuiSize size) const {
    if (!mGui.canResize())
        return {size, size, {}};
    const auto hints = mGui.resizeHints();
    SizeRules rules;
    rules.least = mGui.adjustSize({1, 1}).value_or(host::GuiSize{1, 1});
    rules.most = mGui.adjustSize({kMostPixels, kMostPixels})
                     .value_or(host::GuiSize{kMostPixels, kMostPixels});
    if (hints && hints->preserve_aspect_ratio)
        rules.aspect = {hints->aspect_ratio_width, hints->aspect_ratio_height};
    return rules;
}

bool EditorWindow::update() {
    if (const auto wanted = takeRequest())
        followPlugin(*wanted);
    else
        followUser();
    return !mWindow->isCloseAsked() && !mGone;
}

bool EditorWindow::request(host::GuiSize size) {
    if (!isPossible(size))
        return false;
    const std::lock_guard lock(mRequestMutex);
    mRequested = size;
    return true;
}

std::optional<host::GuiSize> EditorWindow::takeRequest() {
    const std::lock_guard lock(mRequestMutex);
    return std::exchange(mRequested, std::nullopt);
}

void EditorWindow::followPlugin(host::GuiSize wanted) {
    mFollowed = wanted;
    mQuietUntil = Clock::now() + kResizeTime;
    mWindow->resize(wanted);
}

/// Also when a window manager made another size of the one the plug-in wanted. A manager that
/// refuses the adjusted size too reports nothing new, and that is the end of it.
void EditorWindow::followUser() {
    const host::GuiSize size = mWindow->size();
    if (size == mFollowed || Clock::now() < mQuietUntil)
        return;
    mFollowed = size;
    const host::GuiSize fit = mGui.adjustSize(size).value_or(size);
    mGui.setSize(fit);
    if (fit != size)
        mWindow->resize(fit);
}

} // namespace editor
