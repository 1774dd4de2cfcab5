#include "ui/GlLoader.h"

#include "ui/PuglCompat.h"

#include <glad/gl.h>

namespace ui {

bool loadGl() {
    // A static's initialiser runs once, whichever editor's thread comes first.
    static const bool loaded = gladLoadGL(static_cast<GLADloadfunc>(puglGetProcAddress)) != 0;
    return loaded;
}

} // namespace ui
