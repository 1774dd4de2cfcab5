/// Drawing that NanoVG has turned into triangles already, for frames that need it again.
#pragma once

#include "ui/DrawState.h"

#include <nanovg.h>

#include <array>
#include <cstddef>
#include <vector>

namespace ui {

/// The layers of a picture that stand still while sound moves what lies between them. Of a frame's
/// work, most is to make triangles of paths and texts: a layer that is the same as in the frame
/// before is handed to NanoVG's back end as it was then. [ui]
class DisplayLists {
public:
    /// From here on takes note of what the context hands to its back end. The context must outlive
    /// it.
    explicit DisplayLists(NVGcontext* context);
    ~DisplayLists();
    DisplayLists(const DisplayLists&) = delete;
    DisplayLists& operator=(const DisplayLists&) = delete;

    // A frame, in this order; its thread draws nothing else meanwhile.

    /// `moved`: the canvas lies elsewhere in the window than in the frame before.
    void beginFrame(bool moved);
    /// What the layers show. Only what sound moves, and they leave out, may differ from frame to
    /// frame without their being drawn again.
    void follow(const DrawState& state, const Panel& panel);
    /// The next layer, the same one with each frame: draws it, or repeats it.
    template <class Draw>
    void layer(const Draw& draw) {
        Layer& list = layers[next++];
        if (repeats) {
            replay(list);
            return;
        }
        list.clear();
        recorded = &list;
        draw();
        recorded = nullptr;
    }
    void endFrame();

private:
    /// One call of NanoVG's to its back end, with copies of all that it points at.
    struct Call {
        enum class Kind { Fill, Stroke, Triangles };
        Kind kind;
        NVGpaint paint;
        NVGcompositeOperationState operation;
        NVGscissor scissor;
        float fringe;
        float strokeWidth = 0.0F;
        std::array<float, 4> bounds{};
        std::vector<NVGpath> paths{};      ///< they point into `vertices`
        std::vector<NVGvertex> vertices{}; ///< stay where they are when the call is moved

        void copyPaths(const NVGpath* from, int count);
    };
    using Layer = std::vector<Call>;

    static void fill(void* gl, NVGpaint* paint, NVGcompositeOperationState operation,
                     NVGscissor* scissor, float fringe, const float* bounds, const NVGpath* paths,
                     int count);
    static void stroke(void* gl, NVGpaint* paint, NVGcompositeOperationState operation,
                       NVGscissor* scissor, float fringe, float strokeWidth, const NVGpath* paths,
                       int count);
    static void triangles(void* gl, NVGpaint* paint, NVGcompositeOperationState operation,
                          NVGscissor* scissor, const NVGvertex* vertices, int count, float fringe);
    static int updateTexture(void* gl, int image, int x, int y, int width, int height,
                             const unsigned char* data);
    void replay(const Layer& layer) const;

    static thread_local DisplayLists* sDrawing; ///< that of the frame in progress

    NVGparams backEnd; ///< as it was without us
    std::array<Layer, 5> layers;
    std::size_t next = 0;
    Layer* recorded = nullptr; ///< the layer that is being drawn
    bool valid = false;        ///< the layers are those of a whole frame and can be repeated
    bool repeats = false;
    bool glyphsAdded = false; ///< in this frame
    DrawState shownState;     ///< by the layers
    Panel shownPanel;
};

} // namespace ui
