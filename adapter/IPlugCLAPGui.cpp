#include "adapter/EditorSize.h"
#include "adapter/IPlugCLAP.h"
#include "adapter/WindowApi.h"

#include <algorithm>
#include <cstring>

namespace iplug {
namespace {

bool isOurs(const char* api) { return api != nullptr && std::strcmp(api, editor::kWindowApi) == 0; }

} // namespace

bool IPlugCLAP::guiIsApiSupported(const char* api, bool floating) noexcept {
    return !floating && isOurs(api);
}

bool IPlugCLAP::guiGetPreferredApi(const char** api, bool* floating) noexcept {
    *api = editor::kWindowApi;
    *floating = false;
    return true;
}

/// The window itself is made when the parent is known.
bool IPlugCLAP::guiCreate(const char* api, bool floating) noexcept {
    return staticConfig.hasEditor && guiIsApiSupported(api, floating);
}

void IPlugCLAP::guiDestroy() noexcept {
    CloseEditor();
    parentWindow = nullptr;
}

bool IPlugCLAP::guiSetScale(double scale) noexcept {
    if (staticConfig.hasEditor)
        SetScreenScale(static_cast<float>(scale));
    return staticConfig.hasEditor;
}

bool IPlugCLAP::guiGetSize(std::uint32_t* width, std::uint32_t* height) noexcept {
    const editor::SizePx size = GetEditorSize();
    NoteHostWindowSize(size.width, size.height);
    *width = static_cast<std::uint32_t>(size.width);
    *height = static_cast<std::uint32_t>(size.height);
    return true;
}

bool IPlugCLAP::guiCanResize() const noexcept {
    return staticConfig.hasEditor && staticConfig.hostMayResize;
}

/// Without these hints common hosts fix the window's size.
bool IPlugCLAP::guiGetResizeHints(clap_gui_resize_hints_t* hints) noexcept {
    *hints = {.can_resize_horizontally = true,
              .can_resize_vertically = true,
              .preserve_aspect_ratio = true,
              .aspect_ratio_width = editor::kAspectWidth,
              .aspect_ratio_height = editor::kAspectHeight};
    return guiCanResize();
}

bool IPlugCLAP::guiAdjustSize(std::uint32_t* width, std::uint32_t* height) noexcept {
    int adjustedWidth = static_cast<int>(std::min(*width, editor::kMaxPx));
    int adjustedHeight = static_cast<int>(std::min(*height, editor::kMaxPx));
    return guarded("the editor's size could not be adjusted", [&] {
        ConstrainEditorResize(adjustedWidth, adjustedHeight);
        *width = static_cast<std::uint32_t>(adjustedWidth);
        *height = static_cast<std::uint32_t>(adjustedHeight);
        return true;
    });
}

bool IPlugCLAP::guiSetSize(std::uint32_t width, std::uint32_t height) noexcept {
    const int widthPx = static_cast<int>(std::min(width, editor::kMaxPx));
    const int heightPx = static_cast<int>(std::min(height, editor::kMaxPx));
    NoteHostWindowSize(widthPx, heightPx);
    // A host may answer a resize request by first calling back with the size it still has: that
    // is no wish of the user, and must not replace the size just asked for.
    const bool answersRequest =
        pthread_equal(resizeAsker.load(std::memory_order_relaxed), pthread_self()) != 0;
    const bool asAsked = GetEditorSize() == editor::SizePx{widthPx, heightPx};
    return guarded("the editor could not be resized", [&] {
        if (!answersRequest || asAsked)
            OnParentWindowResize(widthPx, heightPx);
        return true;
    });
}

bool IPlugCLAP::guiSetParent(const clap_window_t* window) noexcept {
    if (!staticConfig.hasEditor || window == nullptr || !isOurs(window->api))
        return false;
    CloseEditor();              // a host may move the editor into another window
    parentWindow = window->ptr; // whatever the system calls it, it is as wide as a pointer
    return OpenInParent();
}

bool IPlugCLAP::guiShow() noexcept { return windowOpen || OpenInParent(); }

bool IPlugCLAP::guiHide() noexcept {
    CloseEditor();
    return true;
}

bool IPlugCLAP::OpenInParent() noexcept {
    if (!staticConfig.hasEditor || parentWindow == nullptr)
        return false;
    windowOpen = guarded("the editor could not be opened",
                         [this] { return OpenWindow(parentWindow) != nullptr; });
    return windowOpen;
}

void IPlugCLAP::CloseEditor() noexcept {
    guarded("the editor could not be closed", [this] { CloseWindow(); });
    windowOpen = false;
}

void IPlugCLAP::NoteHostWindowSize(int widthPx, int heightPx) {
    toldSize.store({widthPx, heightPx}, std::memory_order_relaxed);
}

bool IPlugCLAP::EditorResize(int widthPx, int heightPx) {
    SetEditorSize(widthPx, heightPx); // before asking: the host may answer with guiGetSize
    const editor::SizePx told = toldSize.load(std::memory_order_relaxed);
    const bool hostKnows = told == editor::SizePx{widthPx, heightPx};
    if (!staticConfig.hasEditor || hostKnows || !canUseGui())
        return true;
    NoteHostWindowSize(widthPx, heightPx);
    resizeAsker.store(pthread_self(), std::memory_order_relaxed);
    const bool taken = hostRequestResize(static_cast<std::uint32_t>(widthPx),
                                         static_cast<std::uint32_t>(heightPx));
    resizeAsker.store(pthread_t{}, std::memory_order_relaxed);
    if (!taken)
        NoteHostWindowSize(told.width, told.height);
    return true;
}

} // namespace iplug
