#include "ui/PanelTexts.h"
#include "tests/support/Test.h"

namespace {

TEST(PanelTexts, ReadSo) {
    using enum ui::ValueFormat;
    const auto text = [](const auto& shown) { return std::string(shown.data()); };
    const ui::RemoteInstanceInfo list[] = {{7, "Kick"}, {9, "Bass"}, {0, "None"}};
    const std::pair<std::string, const char*> texts[] = {
        {text(ui::valueText(100.5F, Whole)), "101"},
        {text(ui::valueText(-0.4F, Whole)), "0"},
        {text(ui::valueText(-0.04F, OneDecimal)), "0.0"},
        {text(ui::valueText(-10, OneDecimal)), "-10.0"},
        {text(ui::edgeText(999.4F)), "999"},
        {text(ui::edgeText(999.6F)), "1k"},
        {text(ui::filterText(999.6F)), "1.0k"},
        {text(ui::edgeText(1e38F)), "1000000000k"},
        {text(ui::reductionText(6.3F)), "-6.3 dB"},
        {text(ui::reductionText(NAN)), "0.0 dB"},
        {ui::dropdownText(list, 9), "Bass"},
        {ui::dropdownText(list, 0), "— pick a track to pair with ▾"},
        {ui::dropdownText({}, 9), "— add TD on another track —"}};
    for (const auto& [shown, expected] : texts)
        EXPECT_EQ(shown, expected);
    EXPECT_EQ(ui::tooltipOf(hitOf(ui::Target::Entry)), nullptr);
}

TEST(NameEdit, TakesPrintableAsciiUpToSixtyBytes) {
    ui::NameEdit edit;
    edit.append("x");
    EXPECT_STREQ(edit.text(), "") << "not editing";
    edit.begin("Bas");
    for (const char* event : {"s", " ", "~!", "\x7F", "\x1F", "ä", "", "~"})
        EXPECT_EQ(edit.append(event), *event != "ä"[0]) << "the only one that is a character";
    edit.backspace();
    EXPECT_STREQ(edit.text(), "Bass ~");
    edit.begin(std::string(200, 'n').c_str());
    EXPECT_EQ(std::string(edit.text()).size(), 63U);
    EXPECT_FALSE(edit.append("n"));
    edit.begin("aä漢\x80"); // and a byte that belongs to nothing
    for (const char* rest : {"aä", "a", "", ""}) {
        edit.backspace();
        EXPECT_STREQ(edit.text(), rest);
    }
    edit.begin("");
    edit.backspace();
    EXPECT_STREQ(edit.text(), "");
}

} // namespace
