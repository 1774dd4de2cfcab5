#include "ui/Brush.h"

#include <algorithm>

namespace ui {
namespace {

constexpr float kFieldRadius = 4.0F;

void drawLogo(const DrawTools& tools) {
    fillBox(tools, kLogo, kFieldRadius, theme::kLogo);
    if (tools.logoImage >= 0) {
        nvgBeginPath(tools.vg);
        nvgRoundedRect(tools.vg, kLogo.x, kLogo.y, kLogo.width, kLogo.height, kFieldRadius);
        nvgFillPaint(tools.vg, nvgImagePattern(tools.vg, kLogo.x, kLogo.y, kLogo.width,
                                               kLogo.height, 0.0F, tools.logoImage, 1.0F));
        nvgFill(tools.vg);
    }
    drawText(tools, kLogoText, {theme::kLogoSize, theme::kLogo}, "TD");
}

/// The name as it is being typed; one that is too long shows its end, where the caret is.
void drawNameEdit(const DrawTools& tools, const char* text, bool refuses, Point at) {
    constexpr float kCaretGap = 2.0F;
    fillBox(tools, kNameField, kFieldRadius, theme::kNameEdited);
    strokeBox(tools, kNameField, kFieldRadius, refuses ? theme::kReduction : theme::kLocalAccent,
              refuses ? 2.0F : 1.0F);
    const Rect room = {at.x - 1.0F, kNameField.y, kNameField.right() - at.x - 5.0F,
                       kNameField.height};
    const Clip inside(tools, room);
    const float width = textWidth(tools, theme::kFieldSize, text);
    const float caret = std::min(at.x + width + kCaretGap, room.right() - 1.0F);
    drawText(tools, {caret - kCaretGap - width, at.y}, {theme::kFieldSize, theme::kText}, text);
    drawVertical(tools, caret, 12.0F, 28.0F, theme::kLocalAccent, 1.5F);
}

void drawName(const DrawTools& tools, const Panel& panel, bool hot) {
    constexpr Point kTextAt = {72.0F, 20.0F};
    if (panel.nameEdit.editing()) {
        drawNameEdit(tools, panel.nameEdit.text(), panel.nameRefuses, kTextAt);
        return;
    }
    if (hot)
        fillBox(tools, kNameField, kFieldRadius, theme::kNameHovered);
    drawTextCut(tools, kTextAt, {theme::kFieldSize, hot ? theme::kText : theme::kInactiveText},
                panel.view.name.data(), kNameField.right() - 6.0F - kTextAt.x);
}

void drawTitle(const DrawTools& tools, Point centre, Side side, bool bypassed, const char* text) {
    const Colour colour = bypassed ? theme::kInactiveText : theme::accentOf(side);
    drawText(tools, centre, {theme::kTitleSize, colour, AlignX::Centre}, text);
}

void drawRegistryIndicator(const DrawTools& tools, bool open) {
    fillDot(tools, kRegistryDot, 5.0F, open ? theme::kRegistryOpen : theme::kRegistryClosed);
    if (open)
        strokeRing(tools, kRegistryDot, 7.0F, theme::kRegistryOpen.withAlpha(64), 1.5F);
    drawText(tools, kRegistryText,
             {theme::kSmallSize, open ? theme::kRegistryOpen : theme::kInactiveText, AlignX::Right},
             "SHM");
}

void drawShadow(const DrawTools& tools, const Rect& box) {
    constexpr float kReach = 12.0F;
    const Rect around = {box.x - kReach, box.y, box.width + 2.0F * kReach, box.height + kReach};
    nvgBeginPath(tools.vg);
    nvgRect(tools.vg, around.x, around.y, around.width, around.height);
    nvgFillPaint(tools.vg,
                 nvgBoxGradient(tools.vg, box.x, box.y + 2.0F, box.width, box.height, kFieldRadius,
                                kReach, nvg(theme::kShadow), nvg(theme::kShadow.withAlpha(0))));
    nvgFill(tools.vg);
}

void drawEntry(const DrawTools& tools, const Rect& area, const char* name, bool selected,
               bool hot) {
    const Rect highlight = {area.x + 2.0F, area.y, area.width - 4.0F, area.height};
    if (selected)
        fillBox(tools, highlight, 3.0F, theme::kEntrySelected);
    if (hot)
        fillBox(tools, highlight, 3.0F, theme::kEntryHovered);
    const Colour colour = selected || hot ? theme::kText : theme::kInactiveText;
    drawTextCut(tools, {16.0F, area.y + 11.0F}, {theme::kFieldSize, colour}, name, 262.0F);
}

void drawList(const DrawTools& tools, const Panel& panel) {
    const auto entries = static_cast<int>(panel.view.instances.size());
    const Rect list = dropdownList(entries);
    drawShadow(tools, list);
    fillBox(tools, list, kFieldRadius, theme::kList);
    strokeBox(tools, list, kFieldRadius, theme::kLocalAccent);
    if (panel.view.instances.empty())
        drawText(tools, {148.0F, 288.0F},
                 {theme::kControlSize, theme::kInactiveText, AlignX::Centre}, kEmptyListText);
    for (int i = 0; const RemoteInstanceInfo& entry : panel.view.instances) {
        drawEntry(tools, dropdownEntry(i, entries), entry.name, entry.id == panel.view.peerId,
                  hotIn(panel) == Hit{Part::Entry, Side::Local, i});
        ++i;
    }
}

} // namespace

void drawTopRow(const DrawTools& tools, const DrawState& state, const Panel& panel) {
    const Hit hot = hotIn(panel);
    drawLogo(tools);
    drawName(tools, panel, hot.part == Part::Name);
    drawTitle(tools, kLocalTitle, Side::Local, state.ownBypass, "Local Track");
    drawBypassToggle(tools, Side::Local, state.ownBypass, hot == Hit{Part::Bypass, Side::Local});
    drawDuckToggle(tools, Side::Local, state.ownDuck, hot == Hit{Part::Duck, Side::Local});
    drawRegistryIndicator(tools, state.registryOpen);
}

void drawDropdown(const DrawTools& tools, const Panel& panel) {
    const bool hot = hotIn(panel).part == Part::Dropdown;
    fillBox(tools, kDropdown, kFieldRadius, hot ? theme::kHeaderHovered : theme::kHeader);
    strokeBox(tools, kDropdown, kFieldRadius,
              panel.dropdownOpen ? theme::kLocalAccent : theme::kOutline);
    drawTextCut(tools, {16.0F, 264.0F},
                {theme::kFieldSize, panel.view.peerId != 0 ? theme::kText : theme::kInactiveText},
                dropdownText(panel.view.instances, panel.view.peerId), 246.0F);
    drawText(tools, {282.0F, 264.0F}, {theme::kControlSize, theme::kInactiveText, AlignX::Right},
             panel.dropdownOpen ? "▲" : "▼");
    if (panel.dropdownOpen)
        drawList(tools, panel);
}

void drawPeerTitle(const DrawTools& tools, const DrawState& state, bool linked, const Hit& hot) {
    drawBypassToggle(tools, Side::Remote, state.peerBypass, hot == Hit{Part::Bypass, Side::Remote});
    drawDuckToggle(tools, Side::Remote, state.peerDuck && linked,
                   hot == Hit{Part::Duck, Side::Remote});
    drawTitle(tools, kRemoteTitle, Side::Remote, state.peerBypass, "Remote Track");
}

} // namespace ui
