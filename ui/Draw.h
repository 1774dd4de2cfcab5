/// Drawing: snapshot in, NanoVG calls out, nothing else. [ui, between begin and end of a frame]
#pragma once

#include "ui/DrawState.h"

struct NVGcontext;

namespace ui {

class DisplayLists;

inline constexpr const char* kFontName = "sans";

/// What the drawing needs besides the state.
struct DrawTools {
    NVGcontext* vg = nullptr;
    DisplayLists* lists = nullptr; ///< what stands still from frame to frame
    int logoImage = -1;            ///< -1: none
    float lineHeight = 1.0F;       ///< font size as NanoVG takes it, per unit of em size
    float capHeight = 0.73F;       ///< height of capitals and digits, per unit of em size
    float zoom = 1.0F;             ///< pixels per unit
};

/// The whole canvas, in canvas units, but for the background (DrawUI.cpp).
void drawUI(const DrawTools& tools, const DrawState& state, const Panel& panel);

// Its parts. `hot` is what is being dragged or, with nothing dragged, what the pointer is over.

[[nodiscard]] constexpr Hit hotIn(const Panel& panel) {
    return hitOf(panel.dragging != Target::None ? panel.dragging : panel.hover);
}

// DrawHeader.cpp

/// Logo, name field, own title and toggles, registry indicator.
void drawTopRow(const DrawTools& tools, const DrawState& state, const Panel& panel);
/// The dropdown's header and, while it is open, its list, over all that is drawn before.
void drawDropdown(const DrawTools& tools, const Panel& panel);
/// The peer's title and toggles.
void drawPeerTitle(const DrawTools& tools, const DrawState& state, bool linked, const Hit& hot);

// DrawSpectrum.cpp

/// What lies below the spectrum of one side: panel and grid.
void drawAnalyzerPanel(const DrawTools& tools, Side side);
/// The spectrum of one side.
void drawSpectralBand(const DrawTools& tools, Side side, const dsp::DisplayLevels& levels);
/// The outline once more, over all that was clipped to the panel; rounds the corners.
void drawAnalyzerFrame(const DrawTools& tools, Side side);

// DrawBands.cpp

/// Bands with edges, thresholds and ratios, and the grids' lines and labels over them.
void drawDynBands(const DrawTools& tools, Side side, const shm::BandSet& bands, const Hit& hot);
/// The threshold of this side's that is hot, a second time: in the other analyzer, on the scale of
/// the spectrum it is compared with. Only while it is hot: three more lines in each analyzer, in
/// the colours of the thresholds that live there, were taken for those when they were tried.
void drawThresholdGhosts(const DrawTools& tools, Side side, const shm::BandSet& bands,
                         const Hit& hot);
/// The edges' frequencies, and the value that is being hovered or dragged.
void drawBandLabels(const DrawTools& tools, Side side, const shm::BandSet& bands, const Hit& hot);

// DrawOverlays.cpp

/// Gain reduction of each enabled band: hangs from the top, as deep as a threshold of the same
/// number of dB. Shown up to 24 dB.
void drawGROverlay(const DrawTools& tools, Side side, const shm::BandSet& bands,
                   const ThreeFloats& reductionDb);
/// Shade over what lies beyond the filters; under bands and grids, whose texts stay legible.
void drawIgnoredRanges(const DrawTools& tools, Side side, const shm::Filters& filters);
/// Both filter handles.
void drawHpLp(const DrawTools& tools, Side side, const shm::Filters& filters, const Hit& hot);

// DrawControls.cpp

void drawKnob(const DrawTools& tools, const KnobDef& knob, float value, bool hot);
void drawBypassToggle(const DrawTools& tools, Side side, bool on, bool hot);
void drawDuckToggle(const DrawTools& tools, Side side, bool on, bool hot);
void drawResizeGrip(const DrawTools& tools, bool hot);

/// Box with the text of a part, beside the pointer and inside the canvas; nothing for parts without
/// a text (DrawTooltip.cpp).
void drawTooltip(const DrawTools& tools, const Hit& hit, Point pointer);

} // namespace ui
