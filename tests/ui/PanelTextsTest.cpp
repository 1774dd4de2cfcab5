#include "ui/PanelTexts.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

using enum ui::ValueFormat;

TEST(PanelTexts, ReadSo) {
    const std::pair<ui::ShortText, const char*> numbers[] = {
        {ui::valueText(100.5F, Whole), "101"},
        {ui::valueText(-0.4F, Whole), "0"},
        {ui::valueText(-0.04F, OneDecimal), "0.0"},
        {ui::valueText(-10, OneDecimal), "-10.0"},
        {ui::edgeText(999.4F), "999"},
        {ui::edgeText(999.6F), "1k"},
        {ui::filterText(999.6F), "1.0k"},
        {ui::edgeText(1e38F), "1000000000k"},
        {ui::reductionText(6.3F), "-6.3 dB"},
        {ui::reductionText(std::nanf("")), "0.0 dB"}};
    for (const auto& [text, expected] : numbers)
        EXPECT_STREQ(text.data(), expected);

    const ui::RemoteInstanceInfo list[] = {{7, "Kick"}, {9, "Bass"}, {0, "None"}};
    EXPECT_STREQ(ui::dropdownText(list, 9), "Bass");
    EXPECT_STREQ(ui::dropdownText(list, 0), "— pick a track to pair with ▾");
    EXPECT_STREQ(ui::dropdownText({}, 9), "— add TD on another track —");
    EXPECT_STREQ(ui::tooltipOf(ui::Target::LocalEdge + 1),
                 "Drag to resize band • double-click to remove");
    EXPECT_EQ(ui::tooltipOf(ui::Target::Entry), nullptr);
}

TEST(NameEdit, TakesPrintableAsciiUpToSixtyBytes) {
    ui::NameEdit edit;
    edit.append("x");
    EXPECT_STREQ(edit.text(), "") << "not editing";
    edit.begin("Bas");
    for (const char* event : {"s", " ", "~!", "\x7F", "\x1F", "ä", "", "~"})
        edit.append(event);
    edit.backspace();
    EXPECT_STREQ(edit.text(), "Bass ~");
    for (int i = 0; i < 70; ++i)
        edit.append("n");
    EXPECT_EQ(std::string(edit.text()).size(), 60U);
    edit.begin(std::string(200, 'n').c_str());
    EXPECT_EQ(std::string(edit.text()).size(), 63U);
    edit.begin("");
    edit.backspace();
    EXPECT_STREQ(edit.text(), "");
}

} // namespace
