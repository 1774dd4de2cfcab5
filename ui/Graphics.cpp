#include "ui/Graphics.h"

#include "ui/GlLoader.h"
#include "ui/Logo.h"
#include "ui/SystemFont.h"

#include <glad/gl.h>
#include <nanovg.h>
#define NANOVG_GL2 1
#include <nanovg_gl.h>

#include <cmath>
#include <string>

namespace ui {

void Graphics::create() {
    if (!loadGl())
        return;
    drawTools.vg = nvgCreateGL2(NVG_ANTIALIAS | NVG_STENCIL_STROKES);
    if (drawTools.vg == nullptr)
        return;
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
}

} // namespace ui
