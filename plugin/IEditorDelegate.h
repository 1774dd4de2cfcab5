/// The editor side of the framework layer: the hooks that host a window, and its size.
#pragma once

#include "dsp/Relaxed.h"
#include "plugin/Config.h"

namespace iplug {

/// What the host side and the editor need of each other. The size is read and written on the main
/// thread and on the editor's own.
class IEditorDelegate {
public:
    explicit IEditorDelegate(const Config& config)
        : currentWidth(config.editorWidthPx), currentHeight(config.editorHeightPx) {}
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

    /// The editor's current size, pixels. [any]
    [[nodiscard]] int GetEditorWidth() const noexcept { return currentWidth; }
    [[nodiscard]] int GetEditorHeight() const noexcept { return currentHeight; }

protected:
    void SetEditorSize(int widthPx, int heightPx) noexcept {
        currentWidth = widthPx;
        currentHeight = heightPx;
    }

private:
    dsp::Relaxed<int> currentWidth;
    dsp::Relaxed<int> currentHeight;
};

} // namespace iplug
