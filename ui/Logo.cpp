#include "ui/Logo.h"

#include "ui/LogoData.h"

#include <nanovg.h>

#include <mutex>

namespace ui {

int loadLogo(NVGcontext* vg) {
    // The decoder keeps static variables, and each editor decodes on its own thread.
    static std::mutex sDecoder;
    const std::lock_guard lock(sDecoder);
    // Drawn at a quarter of its size and more: without mipmaps it would flicker while resizing.
    const int image =
        nvgCreateImageMem(vg, NVG_IMAGE_GENERATE_MIPMAPS, const_cast<unsigned char*>(kLogoPng),
                          static_cast<int>(sizeof kLogoPng));
    return image > 0 ? image : -1; // 0 is NanoVG's failure
}

} // namespace ui
