#include "ui/DisplayLists.h"

namespace ui {

thread_local DisplayLists* DisplayLists::sDrawing = nullptr;

DisplayLists::DisplayLists(NVGcontext* context) {
    NVGparams& params = *nvgInternalParams(context);
    backEnd = params;
    params.renderFill = fill;
    params.renderStroke = stroke;
    params.renderTriangles = triangles;
    params.renderUpdateTexture = updateTexture;
}

DisplayLists::~DisplayLists() {
    if (sDrawing == this)
        sDrawing = nullptr;
}

void DisplayLists::beginFrame(bool moved) {
    sDrawing = this;
    next = 0;
    recorded = nullptr;
    repeats = false;
    glyphsAdded = false;
    valid = valid && !moved;
}

void DisplayLists::follow(const DrawState& state, const Panel& panel) {
    DrawState still = state;
    still.meters = {};
    Panel stillPanel = panel;
    stillPanel.localLevels = stillPanel.remoteLevels = {};
    stillPanel.view.peerReductionDb = {};
    if (!panel.tooltip)
        stillPanel.pointer = {};
    repeats = valid && still == shownState && stillPanel == shownPanel;
    valid = false; // until the frame is whole
    shownState = still;
    shownPanel = std::move(stillPanel);
}

/// New glyphs may have made NanoVG start its atlas anew, and those of the layers lie elsewhere
/// then.
void DisplayLists::endFrame() {
    valid = !glyphsAdded;
    sDrawing = nullptr;
}

void DisplayLists::Call::copyPaths(const NVGpath* from, int count) {
    paths.assign(from, from + count);
    std::size_t total = 0;
    for (const NVGpath& path : paths)
        total += std::size_t(path.nfill) + std::size_t(path.nstroke);
    vertices.reserve(total); // so that they do not move
    const auto copied = [this](const NVGvertex* first, int n) {
        NVGvertex* const place = vertices.data() + vertices.size();
        vertices.insert(vertices.end(), first, first + n);
        return place;
    };
    for (NVGpath& path : paths) {
        path.fill = copied(path.fill, path.nfill);
        path.stroke = copied(path.stroke, path.nstroke);
    }
}

void DisplayLists::fill(void* gl, NVGpaint* paint, NVGcompositeOperationState operation,
                        NVGscissor* scissor, float fringe, const float* bounds,
                        const NVGpath* paths, int count) {
    sDrawing->backEnd.renderFill(gl, paint, operation, scissor, fringe, bounds, paths, count);
    if (Layer* const layer = sDrawing->recorded; layer != nullptr)
        layer
            ->emplace_back(Call{.kind = Call::Kind::Fill,
                                .paint = *paint,
                                .operation = operation,
                                .scissor = *scissor,
                                .fringe = fringe,
                                .bounds = {bounds[0], bounds[1], bounds[2], bounds[3]}})
            .copyPaths(paths, count);
}

void DisplayLists::stroke(void* gl, NVGpaint* paint, NVGcompositeOperationState operation,
                          NVGscissor* scissor, float fringe, float strokeWidth,
                          const NVGpath* paths, int count) {
    sDrawing->backEnd.renderStroke(gl, paint, operation, scissor, fringe, strokeWidth, paths,
                                   count);
    if (Layer* const layer = sDrawing->recorded; layer != nullptr)
        layer
            ->emplace_back(Call{.kind = Call::Kind::Stroke,
                                .paint = *paint,
                                .operation = operation,
                                .scissor = *scissor,
                                .fringe = fringe,
                                .strokeWidth = strokeWidth})
            .copyPaths(paths, count);
}

void DisplayLists::triangles(void* gl, NVGpaint* paint, NVGcompositeOperationState operation,
                             NVGscissor* scissor, const NVGvertex* vertices, int count,
                             float fringe) {
    sDrawing->backEnd.renderTriangles(gl, paint, operation, scissor, vertices, count, fringe);
    if (Layer* const layer = sDrawing->recorded; layer != nullptr)
        layer->push_back({.kind = Call::Kind::Triangles,
                          .paint = *paint,
                          .operation = operation,
                          .scissor = *scissor,
                          .fringe = fringe,
                          .vertices{vertices, vertices + count}});
}

int DisplayLists::updateTexture(void* gl, int image, int x, int y, int width, int height,
                                const unsigned char* data) {
    sDrawing->glyphsAdded = true;
    return sDrawing->backEnd.renderUpdateTexture(gl, image, x, y, width, height, data);
}

void DisplayLists::replay(const Layer& layer) const {
    for (const Call& call : layer) {
        NVGpaint paint = call.paint;
        NVGscissor scissor = call.scissor;
        const auto paths = static_cast<int>(call.paths.size());
        switch (call.kind) {
        case Call::Kind::Fill:
            backEnd.renderFill(backEnd.userPtr, &paint, call.operation, &scissor, call.fringe,
                               call.bounds.data(), call.paths.data(), paths);
            break;
        case Call::Kind::Stroke:
            backEnd.renderStroke(backEnd.userPtr, &paint, call.operation, &scissor, call.fringe,
                                 call.strokeWidth, call.paths.data(), paths);
            break;
        case Call::Kind::Triangles:
            backEnd.renderTriangles(backEnd.userPtr, &paint, call.operation, &scissor,
                                    call.vertices.data(), static_cast<int>(call.vertices.size()),
                                    call.fringe);
            break;
        }
    }
}

} // namespace ui
