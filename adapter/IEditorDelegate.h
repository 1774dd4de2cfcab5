/// The editor side of the framework layer: the hooks that host a window, and its size.
#pragma once

#include "adapter/Config.h"
#include "adapter/EditorSize.h"

#include <atomic>

namespace iplug {

/// What the host side and the editor need of each other. The size is read and written on the main
/// thread and on the editor's own.
class IEditorDelegate {
public:
    explicit IEditorDelegate(const Config& config)
        : currentSize({config.editorWidthPx, config.editorHeightPx}) {}
    IEditorDelegate(const IEditorDelegate&) = delete;
    IEditorDelegate& operator=(const IEditorDelegate&) = delete;
    virtual ~IEditorDelegate() = default;

    /// Opens the editor inside the host's window. [main]
    virtual void* OpenWindow(void* parent) = 0;
    /// Closes and frees the editor, if it is open. [main]
    virtual void CloseWindow() = 0;
    /// The host has given the window this size, pixels. [main]
    virtual void OnParentWindowResize(int widthPx, int heightPx) = 0;
    /// Turns a wished size into an allowed one; true when it already was. [main]
    virtual bool ConstrainEditorResize(int& widthPx, int& heightPx) const = 0;

    /// Makes this the editor's current size and, when it is not what the host last knew, asks the
    /// host for a window of that size. The host may answer by calling back before this returns: no
    /// lock may be held. [main, ui]
    virtual bool EditorResize(int widthPx, int heightPx) = 0;
    /// The editor has changed its size by itself; the platform's window still has to follow when
    /// the flag says so. [ui]
    void EditorResizeFromUI(int widthPx, int heightPx, bool needsPlatformResize) {
        if (needsPlatformResize)
            EditorResize(widthPx, heightPx);
        else
            SetEditorSize(widthPx, heightPx);
    }
    /// The host's window has this size now, whatever was asked for. [ui]
    virtual void NoteHostWindowSize(int widthPx, int heightPx) = 0;

    /// The editor's current size, pixels. [any]
    [[nodiscard]] editor::SizePx GetEditorSize() const noexcept {
        return currentSize.load(std::memory_order_relaxed);
    }
    [[nodiscard]] int GetEditorWidth() const noexcept { return GetEditorSize().width; }
    [[nodiscard]] int GetEditorHeight() const noexcept { return GetEditorSize().height; }

    /// Makes this the current size without telling anybody. [main, ui]
    void SetEditorSize(int widthPx, int heightPx) noexcept {
        currentSize.store({widthPx, heightPx}, std::memory_order_relaxed);
    }
    /// The host's scale factor; the editor scales with its window instead and does not read it.
    /// [main]
    void SetScreenScale(float scale) noexcept { screenScale = scale; }

private:
    std::atomic<editor::SizePx> currentSize;
    float screenScale = 1.0F; ///< [main]
};

} // namespace iplug
