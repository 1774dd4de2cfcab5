#include "ui/Brush.h"

namespace ui {
namespace {

/// In the order of kKnobs.
std::array<float, 6> knobValues(const DrawState& state) {
    const ControlValues& own = state.controls;
    const ControlValues& peer = state.peerControls;
    return {own.attackMs,  own.releaseMs,  own.makeupDb,
            peer.attackMs, peer.releaseMs, peer.makeupDb};
}

/// Draws what belongs to the peer, faintly while there is none.
template <class Draw>
void drawPeers(const DrawTools& tools, bool linked, Draw&& draw) {
    nvgSave(tools.vg);
    nvgGlobalAlpha(tools.vg, linked ? 1.0F : theme::kNoPeer);
    draw();
    nvgRestore(tools.vg);
}

void drawKnobs(const DrawTools& tools, const DrawState& state, Side side, Target hot) {
    const auto values = knobValues(state);
    for (std::size_t i = 0; i < kKnobs.size(); ++i)
        if (kKnobs[i].side() == side)
            drawKnob(tools, kKnobs[i], values[i], hot == kKnobs[i].target);
}

void drawKnobPanel(const DrawTools& tools, const DrawState& state, bool linked, Target hot) {
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
    const Target hot = hotTarget(panel);
    drawSpectralBand(tools, Side::Local, panel.localLevels);
    drawDynBands(tools, Side::Local, panel.localBands, hot);
    drawGROverlay(tools, Side::Local, panel.localBands, state.reductionDb);
    drawHpLp(tools, Side::Local, state.filters, hot);
}

void drawRemoteAnalyzer(const DrawTools& tools, const Panel& panel, bool linked) {
    const Target hot = hotTarget(panel);
    drawSpectralBand(tools, Side::Remote, panel.remoteLevels);
    if (linked && panel.remoteBands.count > 0) {
        drawDynBands(tools, Side::Remote, panel.remoteBands, hot);
        drawHpLp(tools, Side::Remote, panel.remoteFilters, hot);
        drawGROverlay(tools, Side::Remote, panel.remoteBands, panel.remoteReductionDb);
    }
}

void drawHints(const DrawTools& tools, bool listIsEmpty) {
    const Hints hints = hintsFor(listIsEmpty);
    drawText(tools, kFirstHint, {theme::kFirstHintSize, theme::kFirstHint, AlignX::Centre},
             hints.first);
    drawText(tools, kSecondHint, {theme::kSecondHintSize, theme::kSecondHint, AlignX::Centre},
             hints.second);
}

} // namespace

void drawUI(const DrawTools& tools, const DrawState& state, const Panel& panel) {
    const Target hot = hotTarget(panel);
    const bool linked = panel.peerLinked(state);
    // Beginning the frame has cleared it to the background's colour already.
    drawKnobPanel(tools, state, linked, hot);
    drawTopRow(tools, state, panel);
    drawLocalAnalyzer(tools, state, panel);
    drawRemoteAnalyzer(tools, panel, linked);
    if (!linked)
        drawHints(tools, panel.instances.empty());
    drawResizeGrip(tools, hot == Target::ResizeCorner);
    drawDropdown(tools, panel);
    drawPeers(tools, linked, [&] { drawPeerTitle(tools, state, linked, hot); });
    if (panel.dragging == Target::None)
        drawTooltip(tools, panel.hover, panel.pointer);
}

} // namespace ui
