#include "ui/Brush.h"
#include "ui/DisplayLists.h"

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

void drawHints(const DrawTools& tools, const EditorView& view) {
    const Hints hints = hintsFor(view.instances.empty());
    drawText(tools, kFirstHint, {theme::kFirstHintSize, theme::kFirstHint, AlignX::Centre},
             hints.first);
    drawText(tools, kSecondHint, {theme::kSecondHintSize, theme::kSecondHint, AlignX::Centre},
             hints.second);
    if (view.obstacle == nullptr)
        return;
    const auto [what, remedy] = textsOf(view.obstacle);
    const TextStyle style = {theme::kSecondHintSize, theme::kInactiveText, AlignX::Centre};
    drawText(tools, kThirdHint, style, what.c_str());
    drawText(tools, kFourthHint, style, remedy.c_str());
}

struct Frame {
    const DrawTools& tools;
    const DrawState& state;
    const Panel& panel;
    Hit hot;
    bool linked; ///< there is a peer
    bool shown;  ///< and it has bands
};

// What stands still, from the bottom up: between these come the spectra and the curtains.

/// Beginning the frame has cleared it to the background's colour already.
void drawBelowLocalSpectrum(const Frame& frame) {
    drawKnobPanel(frame.tools, frame.state, frame.hot);
    drawTopRow(frame.tools, frame.state, frame.panel);
    drawAnalyzerPanel(frame.tools, Side::Local);
}

void drawBelowLocalCurtains(const Frame& frame) {
    drawIgnoredRanges(frame.tools, Side::Local, frame.state.filters);
    drawDynBands(frame.tools, Side::Local, frame.panel.view.own.bands, frame.hot);
}

void drawBelowRemoteSpectrum(const Frame& frame) {
    const auto& [tools, state, panel, hot, linked, shown] = frame;
    drawHpLp(tools, Side::Local, state.filters, hot);
    if (linked)
        drawThresholdGhosts(tools, Side::Remote, panel.view.peer.bands, hot);
    drawBandLabels(tools, Side::Local, panel.view.own.bands, hot);
    drawAnalyzerFrame(tools, Side::Local);
    drawAnalyzerPanel(tools, Side::Remote);
}

void drawBelowRemoteCurtains(const Frame& frame) {
    const shm::Settings& peer = frame.panel.view.peer;
    if (!frame.shown)
        return;
    drawIgnoredRanges(frame.tools, Side::Remote, peer.filters);
    drawDynBands(frame.tools, Side::Remote, peer.bands, frame.hot);
    drawHpLp(frame.tools, Side::Remote, peer.filters, frame.hot);
}

void drawOnTop(const Frame& frame) {
    const auto& [tools, state, panel, hot, linked, shown] = frame;
    if (shown) {
        drawThresholdGhosts(tools, Side::Local, panel.view.own.bands, hot);
        drawBandLabels(tools, Side::Remote, panel.view.peer.bands, hot);
    }
    drawAnalyzerFrame(tools, Side::Remote);
    if (!linked)
        drawHints(tools, panel.view);
    drawResizeGrip(tools, hot.part == Part::ResizeCorner);
    drawDropdown(tools, panel);
    drawPeerTitle(tools, state, linked, hot);
    if (panel.tooltip)
        drawTooltip(tools, hot, panel.pointer);
}

} // namespace

void drawUI(const DrawTools& tools, const DrawState& state, const Panel& panel) {
    const EditorView& view = panel.view;
    const bool linked = panel.peerLinked();
    const Frame frame = {tools,        state,  panel,
                         hotIn(panel), linked, linked && view.peer.bands.count > 0};
    DisplayLists& lists = *tools.lists;
    lists.follow(state, panel);
    lists.layer([&] { drawBelowLocalSpectrum(frame); });
    drawSpectralBand(tools, Side::Local, panel.localLevels);
    lists.layer([&] { drawBelowLocalCurtains(frame); });
    drawGROverlay(tools, Side::Local, view.own.bands, state.meters.reductionDb);
    lists.layer([&] { drawBelowRemoteSpectrum(frame); });
    drawSpectralBand(tools, Side::Remote, panel.remoteLevels);
    lists.layer([&] { drawBelowRemoteCurtains(frame); });
    if (frame.shown)
        drawGROverlay(tools, Side::Remote, view.peer.bands, view.peerReductionDb);
    lists.layer([&] { drawOnTop(frame); });
}

} // namespace ui
