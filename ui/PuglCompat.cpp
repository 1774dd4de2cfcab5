#include "ui/PuglCompat.h"

#ifndef PUGL_NUM_STRING_HINTS

#include <X11/Xlib.h>

// This generation's own puglShow raises the window above its siblings.
PuglStatus puglShow(PuglView* view, PuglShowCommand) {
    if (puglGetNativeView(view) == 0) {
        const PuglStatus status = puglRealize(view);
        if (status != PUGL_SUCCESS)
            return status;
    }
    auto* const display = static_cast<Display*>(puglGetNativeWorld(puglGetWorld(view)));
    XMapWindow(display, puglGetNativeView(view));
    return puglPostRedisplay(view);
}

#endif
