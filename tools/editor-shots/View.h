/// A window to draw in, as the editor's.
#pragma once

#include "ui/Graphics.h"
#include "ui/PuglCompat.h"

#include <functional>

namespace shots {

/// A top-level window with its GL context. Throws std::runtime_error when it cannot be had.
class View {
public:
    View(int widthPx, int heightPx);
    ~View();
    View(const View&) = delete;
    View& operator=(const View&) = delete;

    /// Runs `paint` once, where the editor would draw a frame.
    void expose(std::function<void(ui::Graphics&)> paint);

private:
    static PuglStatus onEvent(PuglView* view, const PuglEvent* event);

    PuglWorld* world = nullptr;
    PuglView* view = nullptr;
    ui::Graphics graphics;
    std::function<void(ui::Graphics&)> pending;
};

} // namespace shots
