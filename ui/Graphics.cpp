#include "ui/Graphics.h"

#include "ui/DisplayLists.h"
#include "ui/LogoData.h"
#include "ui/PuglCompat.h"
#include "ui/SystemFont.h"

#include <glad/gl.h>
#include <nanovg.h>
#define NANOVG_GL2 1
#include <nanovg_gl.h>

#include <cmath>
#include <mutex>
#include <string>

namespace ui {
namespace {

/// The entry points that the drawing calls, loaded once per process with a context current. False:
/// nothing can be drawn, in this process ever.
bool loadGl() {
    // A static's initialiser runs once, whichever editor's thread comes first.
    static const bool loaded = gladLoadGL(static_cast<GLADloadfunc>(puglGetProcAddress)) != 0;
    return loaded;
}

/// The picture on the logo's square as an image of the context; -1 when it cannot be.
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

} // namespace

Graphics::Graphics() = default;
Graphics::~Graphics() = default;

void Graphics::create() {
    if (!loadGl())
        return;
    drawTools.vg = nvgCreateGL2(NVG_ANTIALIAS | NVG_STENCIL_STROKES);
    if (drawTools.vg == nullptr)
        return;
    lists = std::make_unique<DisplayLists>(drawTools.vg);
    drawTools.lists = lists.get();
    loadFont();
    drawTools.logoImage = loadLogo(drawTools.vg);
}

void Graphics::loadFont() {
    const std::string file = findSystemFont();
    if (file.empty()) {
        font = 0;
        return;
    }
    font = nvgCreateFont(drawTools.vg, kFontName, file.c_str());
    const FontMetrics metrics = metricsOf(file);
    drawTools.lineHeight = metrics.lineHeight;
    drawTools.capHeight = metrics.capHeight;
    const std::string signs = findSignFont();
    if (!signs.empty())
        nvgAddFallbackFontId(drawTools.vg, font,
                             nvgCreateFont(drawTools.vg, "signs", signs.c_str()));
}

void Graphics::destroy() {
    if (drawTools.vg == nullptr)
        return;
    if (drawTools.logoImage >= 0)
        nvgDeleteImage(drawTools.vg, drawTools.logoImage);
    lists.reset();
    nvgDeleteGL2(drawTools.vg);
    drawTools = {};
    font = -1;
}

CanvasFit Graphics::beginFrame(int widthPx, int heightPx) {
    const auto width = static_cast<float>(widthPx);
    const auto height = static_cast<float>(heightPx);
    const CanvasFit fit = CanvasFit::of(width, height);
    drawTools.zoom = fit.zoom;
    glViewport(0, 0, widthPx, heightPx);
    glClearColor(0.05F, 0.05F, 0.05F, 1.0F);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    lists->beginFrame(widthPx != drawnWidthPx || heightPx != drawnHeightPx);
    drawnWidthPx = widthPx;
    drawnHeightPx = heightPx;
    nvgBeginFrame(drawTools.vg, width / fit.zoom, height / fit.zoom, fit.zoom);
    nvgSave(drawTools.vg);
    // On whole pixels, for sharp lines.
    nvgTranslate(drawTools.vg, std::round(fit.offset.x * fit.zoom) / fit.zoom,
                 std::round(fit.offset.y * fit.zoom) / fit.zoom);
    return fit;
}

void Graphics::endFrame() {
    nvgRestore(drawTools.vg);
    nvgEndFrame(drawTools.vg);
    lists->endFrame();
}

} // namespace ui
