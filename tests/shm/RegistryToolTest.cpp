#include "shm/TessellaDuckworkSHM.h"
#include "tests/support/Test.h"
#include "tools/common/Text.h"
#include "tools/registry/Resolve.h"
#include "tools/registry/SlotOwner.h"
#include "tools/registry/View.h"

#include <cstdio>
#include <cstdlib>

namespace {

TEST(RegistryTool, ResolvesWhatTheUserTyped) {
    std::vector<shm::SlotSnapshot> slots(16);
    int index = 0;
    for (const char* name : {"kick", "bass", "kick", "1", "left"}) {
        shm::SlotSnapshot& slot = slots[static_cast<std::size_t>(index)];
        slot.index = index++;
        slot.active = index < 5;
        std::strncpy(slot.name, name, sizeof slot.name - 1);
    }
    const struct {
        const char* typed;
        int slot; ///< −1: an error that contains `part`.
        const char* part;
    } rows[] = {{"bass", 1, ""},      {"#2", 2, ""},          {"2", 2, ""},
                {"1", 3, ""},         {"kick", -1, "#0 #2"},  {"left", -1, "no instance"},
                {"#16", -1, "#15"},   {"#4", -1, "holds no"}, {"#1x", -1, "#15"},
                {"\x1b", -1, "\"?\""}};
    for (const auto& row : rows) {
        const registry::Resolved result = registry::resolve(slots, row.typed);
        EXPECT_EQ(result.slot ? result.slot->index : -1, row.slot) << row.typed;
        EXPECT_NE(result.error.find(row.part), std::string::npos) << result.error;
    }
}

TEST(RegistryTool, ForeignTextCannotSteerTheTerminal) {
    EXPECT_EQ(terminal::printable("B\xC3\xA4ss \x1b[m\n\x7F \xC2\x9B \xF0\x9F\xA5\x81"),
              "B\xC3\xA4ss ?[m?? ? \xF0\x9F\xA5\x81");
    EXPECT_EQ(terminal::printable("\xC0\xAF\xED\xA0\x80\xFF\xF4\x90\x80\x80 \xE2\x82"),
              "?????????? ??");
}

TEST(RegistryTool, ShowsTheAgeOfASignOfLife) {
    registry::View view{.present = true, .locked = true, .now = 1000, .slots = {{}}};
    view.slots[0].active = true;
    for (const auto& [heartbeat, age] : {std::pair{996, "4"}, {1003, "-3"}}) {
        view.slots[0].heartbeat = heartbeat;
        EXPECT_NE(table(view).find(std::string(" ") + age + " s "), std::string::npos);
        EXPECT_NE(json(view, -1).find("AgeSeconds\":" + std::string(age)), std::string::npos);
    }
}

using RegistryToolLive = raw::RegistryTest;

TEST_F(RegistryToolLive, FindsTheProcessOfASlot) {
    TessellaDuckworkSHM handle; // on the stack: the upper half of its address is not zero
    ASSERT_TRUE(handle.Open());
    EXPECT_EQ(registry::findOwner(handle.MyId()), getpid());
    EXPECT_FALSE(registry::findOwner(handle.MyId() ^ (std::uint64_t{1} << 46)).has_value());
}

TEST_F(RegistryToolLive, EndsWithWhatItFound) {
    TessellaDuckworkSHM handle;
    const auto statusOf = [](const std::string& words) {
        return WEXITSTATUS(std::system((TD_REGISTRY " " + words).c_str()));
    };
    for (const char* words : {"2>/dev/null", "--json >/dev/null 2>&1", "unpair 0 2>/dev/null"})
        EXPECT_EQ(statusOf(words), 3) << words;
    ASSERT_TRUE(handle.Open());
    EXPECT_EQ(statusOf("--json >/dev/null"), 0);
    EXPECT_EQ(statusOf(">/dev/full 2>&1"), 2);
}

TEST_F(RegistryToolLive, IsReadByTheExample) {
    TessellaDuckworkSHM kick;
    TessellaDuckworkSHM bass;
    ASSERT_TRUE(kick.Open() && bass.Open());
    kick.SetDisplayName("Kick");
    bass.SetDisplayName("Bäss");
    bass.SetRemoteId(kick.MyId());
    bass.SetMyBypass(true);
    bass.PublishDuckSelf(true);
    const TDBand bands[] = {{},
                            {.loHz = 200, .hiHz = 5000, .threshDb = -31.5F, .ratio = 2},
                            {.loHz = 5000, .hiHz = 9000, .enabled = false}};
    kick.WriteBands(bands, 1);
    bass.WriteBands(bands, 3);
    std::string printed;
    FILE* const example = popen("python3 " TD_EXAMPLES "/registry-reader.py 2>&1", "r");
    for (int c = fgetc(example); c != EOF; c = fgetc(example))
        printed += static_cast<char>(c);
    EXPECT_EQ(pclose(example), 0);
    EXPECT_EQ(printed, "Kick: peer Bäss, keeps its level; 20 to 20000 Hz above -20.0 dB 4.0:1\n"
                       "Bäss: peer Kick, bypassed, ducks; 20 to 20000 Hz above -20.0 dB 4.0:1; "
                       "200 to 5000 Hz above -31.5 dB 2.0:1; 5000 to 9000 Hz off\n");
}

} // namespace
