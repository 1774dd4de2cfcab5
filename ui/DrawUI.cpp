#include "ui/Brush.h"

namespace ui {
namespace {

/// Draws what belongs to the peer, faintly while there is none.
template <class Draw>
void drawPeers(const DrawTools& tools, bool linked, Draw&& draw) {
    nvgSave(tools.vg);
    nvgGlobalAlpha(tools.vg, linked ? 1.0F : theme::kNoPeer);
    draw();
    nvgRestore(tools.vg);
}

void drawKnobs(const DrawTools& tools, const DrawState& state, Side side, const Hit& hot) {
    const shm::Controls& values = side == Side::Local ? state.controls : state.peerControls;
    for (const KnobDef& knob : kKnobs)
        if (const Hit hit = hitOf(knob.target); hit.side == side)
            drawKnob(tools, knob, values[hit.index], hot == hit);
}

void drawKnobPanel(const DrawTools& tools, const DrawState& state, bool linked, const Hit& hot) {
    fillBox(tools, kKnobPanel, 6.0F, theme::kPanel);
    strokeBox(tools, kKnobPanel, 6.0F, theme::kOutline);
    drawKnobs(tools, state, Side::Local, hot);
    drawText(tools, {16.0F, 500.0F},
             {theme::kSmallSize, theme::kLocalAccent, AlignX::Left, AlignY::Top}, "LOCAL OUTPUT");
    drawPeers(tools, linked, [&] {
        drawKnobs(tools, state, Side::Remote, hot);
        drawText(tools, {944.0F, 500.0F},
                 {theme::kSmallSize, theme::kRemoteAccent, AlignX::Right, AlignY::Top},
                 "REMOTE OUTPUT");
    });
}

void drawLocalAnalyzer(const DrawTools& tools, const DrawState& state, const Panel& panel) {
    const Hit hot = hotIn(panel);
    drawSpectralBand(tools, Side::Local, panel.localLevels);
    drawDynBands(tools, Side::Local, panel.view.own.bands, hot);
    drawGROverlay(tools, Side::Local, panel.view.own.bands, state.meters.reductionDb);
    drawHpLp(tools, Side::Local, state.filters, hot);
}

void drawRemoteAnalyzer(const DrawTools& tools, const Panel& panel, bool linked) {
    const Hit hot = hotIn(panel);
    drawSpectralBand(tools, Side::Remote, panel.remoteLevels);
    if (linked && panel.view.peer.bands.count > 0) {
        drawDynBands(tools, Side::Remote, panel.view.peer.bands, hot);
        drawHpLp(tools, Side::Remote, panel.view.peer.filters, hot);
        drawGROverlay(tools, Side::Remote, panel.view.peer.bands, panel.view.peerReductionDb);
    }
}

void drawHints(const DrawTools& tools, bool listIsEmpty, bool registryOpen) {
    const Hints hints = hintsFor(listIsEmpty);
    drawText(tools, kFirstHint, {theme::kFirstHintSize, theme::kFirstHint, AlignX::Centre},
             hints.first);
    drawText(tools, kSecondHint, {theme::kSecondHintSize, theme::kSecondHint, AlignX::Centre},
             hints.second);
    if (!registryOpen)
        drawText(tools, kThirdHint, {theme::kSecondHintSize, theme::kSecondHint, AlignX::Centre},
                 kClosedRegistryText);
}

} // namespace

void drawUI(const DrawTools& tools, const DrawState& state, const Panel& panel) {
    const Hit hot = hotIn(panel);
    const bool linked = panel.peerLinked();
    // Beginning the frame has cleared it to the background's colour already.
    drawKnobPanel(tools, state, linked, hot);
    drawTopRow(tools, state, panel);
    drawLocalAnalyzer(tools, state, panel);
    drawRemoteAnalyzer(tools, panel, linked);
    if (!linked)
        drawHints(tools, panel.view.instances.empty(), panel.view.registryOpen);
    drawResizeGrip(tools, hot.part == Part::ResizeCorner);
    drawDropdown(tools, panel);
    drawPeers(tools, linked, [&] { drawPeerTitle(tools, state, linked, hot); });
    if (panel.tooltip)
        drawTooltip(tools, hot, panel.pointer);
}

} // namespace ui
