#include "tools/editor-shots/View.h"

#include <stdexcept>
#include <utility>

namespace shots {

View::View(int widthPx, int heightPx)
    : world(puglNewWorld(PUGL_PROGRAM, 0)), view(world ? puglNewView(world) : nullptr) {
    if (view == nullptr)
        throw std::runtime_error("no X display");
    puglSetWorldString(world, PUGL_CLASS_NAME, "TessellaShots");
    puglSetHandle(view, this);
    puglSetEventFunc(view, &View::onEvent);
    puglSetBackend(view, puglGlBackend());
    puglSetViewHint(view, PUGL_CONTEXT_VERSION_MAJOR, 2);
    puglSetViewHint(view, PUGL_CONTEXT_VERSION_MINOR, 1);
    puglSetViewHint(view, PUGL_CONTEXT_PROFILE, PUGL_OPENGL_COMPATIBILITY_PROFILE);
    puglSetViewHint(view, PUGL_DOUBLE_BUFFER, 1);
    puglSetViewHint(view, PUGL_STENCIL_BITS, 8);
    puglSetSizeHint(view, PUGL_DEFAULT_SIZE, static_cast<PuglSpan>(widthPx),
                    static_cast<PuglSpan>(heightPx));
    if (puglShow(view, PUGL_SHOW_PASSIVE) != PUGL_SUCCESS)
        throw std::runtime_error("no window with OpenGL");
}

View::~View() {
    if (view != nullptr)
        puglFreeView(view);
    if (world != nullptr)
        puglFreeWorld(world);
}

void View::expose(std::function<void(ui::Graphics&)> paint) {
    pending = std::move(paint);
    while (pending) {
        puglObscureView(view);
        puglUpdate(world, 0.02);
    }
}

PuglStatus View::onEvent(PuglView* view, const PuglEvent* event) {
    auto& self = *static_cast<View*>(puglGetHandle(view));
    if (event->type == PUGL_REALIZE) {
        self.graphics.create();
    } else if (event->type == PUGL_UNREALIZE) {
        self.graphics.destroy();
    } else if (event->type == PUGL_EXPOSE && self.pending) {
        const auto paint = std::exchange(self.pending, nullptr);
        if (self.graphics.ready())
            paint(self.graphics);
    }
    return PUGL_SUCCESS;
}

} // namespace shots
