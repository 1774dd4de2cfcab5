#include "plugin/TessellaDuckwork.h"

namespace {

constexpr int kDesignWidthPx = 960; ///< with the height it gives the aspect ratio
constexpr int kDesignHeightPx = 600;
constexpr int kLeastWidthPx = 480;
constexpr int kMostWidthPx = 3840;

constexpr int heightFor(int widthPx) {
    return (widthPx * kDesignHeightPx + kDesignWidthPx / 2) / kDesignWidthPx;
}

} // namespace

/// There is no window yet, and so the host is not offered one.
void* TessellaDuckwork::OpenWindow(void* /*parent*/) { return nullptr; }

void TessellaDuckwork::CloseWindow() {
    SetEditorSize(editorWidth, editorHeight);
    editor.exchange(nullptr);
}

void TessellaDuckwork::OnParentWindowResize(int widthPx, int heightPx) {
    if (widthPx < 1 || heightPx < 1)
        return;
    editorWidth = widthPx;
    editorHeight = heightPx;
    SetEditorSize(widthPx, heightPx);
}

// Deliberate: these bounds are tighter than those of the static configuration.
bool TessellaDuckwork::ConstrainEditorResize(int& widthPx, int& heightPx) const {
    const int width = std::clamp(widthPx, kLeastWidthPx, kMostWidthPx);
    const int height = heightFor(width);
    const bool unchanged = width == widthPx && height == heightPx;
    widthPx = width;
    heightPx = height;
    return unchanged;
}
