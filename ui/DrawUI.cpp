#include "ui/Brush.h"

namespace ui {
namespace {

void drawKnobs(const DrawTools& tools, const DrawState& state, Side side, const Hit& hot) {
    const shm::Controls& values = side == Side::Local ? state.controls : state.peerControls;
    for (const KnobDef& knob : kKnobs)
        if (const Hit hit = hitOf(knob.target); hit.side == side)
            drawKnob(tools, knob, values[hit.index], hot == hit);
}

void drawKnobPanel(const DrawTools& tools, const DrawState& state, const Hit& hot) {
    fillBox(tools, kKnobPanel, 6.0F, theme::kPanel);
    strokeBox(tools, kKnobPanel, 6.0F, theme::kOutline);
    drawKnobs(tools, state, Side::Local, hot);
    drawText(tools, {16.0F, 500.0F},
             {theme::kSmallSize, theme::kLocalAccent, AlignX::Left, AlignY::Top}, "LOCAL OUTPUT");
    drawKnobs(tools, state, Side::Remote, hot);
    drawText(tools, {944.0F, 500.0F},
             {theme::kSmallSize, theme::kRemoteAccent, AlignX::Right, AlignY::Top},
             "REMOTE OUTPUT");
}

void drawLocalAnalyzer(const DrawTools& tools, const DrawState& state, const Panel& panel,
                       bool linked) {
    const Hit hot = hotIn(panel);
    const shm::BandSet& bands = panel.view.own.bands;
    drawSpectralBand(tools, Side::Local, panel.localLevels);
    drawIgnoredRanges(tools, Side::Local, state.filters);
    drawDynBands(tools, Side::Local, bands, hot);
    drawGROverlay(tools, Side::Local, bands, state.meters.reductionDb);
    drawHpLp(tools, Side::Local, state.filters, hot);
    if (linked)
        drawThresholdGhosts(tools, Side::Remote, panel.view.peer.bands, hot);
    drawBandLabels(tools, Side::Local, bands, hot);
    drawAnalyzerFrame(tools, Side::Local);
}

void drawRemoteAnalyzer(const DrawTools& tools, const Panel& panel, bool linked) {
    const Hit hot = hotIn(panel);
    const shm::Settings& peer = panel.view.peer;
    drawSpectralBand(tools, Side::Remote, panel.remoteLevels);
    if (linked && peer.bands.count > 0) {
        drawIgnoredRanges(tools, Side::Remote, peer.filters);
        drawDynBands(tools, Side::Remote, peer.bands, hot);
        drawHpLp(tools, Side::Remote, peer.filters, hot);
        drawGROverlay(tools, Side::Remote, peer.bands, panel.view.peerReductionDb);
        drawThresholdGhosts(tools, Side::Local, panel.view.own.bands, hot);
        drawBandLabels(tools, Side::Remote, peer.bands, hot);
    }
    drawAnalyzerFrame(tools, Side::Remote);
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
    drawKnobPanel(tools, state, hot);
    drawTopRow(tools, state, panel);
    drawLocalAnalyzer(tools, state, panel, linked);
    drawRemoteAnalyzer(tools, panel, linked);
    if (!linked)
        drawHints(tools, panel.view.instances.empty(), panel.view.registryOpen);
    drawResizeGrip(tools, hot.part == Part::ResizeCorner);
    drawDropdown(tools, panel);
    drawPeerTitle(tools, state, linked, hot);
    if (panel.tooltip)
        drawTooltip(tools, hot, panel.pointer);
}

} // namespace ui
