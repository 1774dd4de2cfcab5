#include "shm/SlotOwner.h"
#include "shm/TessellaDuckworkSHM.h"
#include "tests/shm/RawSegment.h"
#include "tools/registry/Resolve.h"

#include <vector>

namespace {

TEST(RegistryTool, ResolvesWhatTheUserTyped) {
    std::vector<shm::SlotSnapshot> slots(16);
    const char* names[] = {"kick", "bass", "kick", "1", "left"};
    for (int k = 0; k < 5; ++k) {
        slots[static_cast<std::size_t>(k)].index = k;
        slots[static_cast<std::size_t>(k)].active = k < 4;
        std::strcpy(slots[static_cast<std::size_t>(k)].name, names[k]);
    }
    struct {
        const char* typed;
        int slot; ///< −1: an error that contains `part`.
        const char* part;
    } const rows[] = {{"bass", 1, ""},        {"#2", 2, ""},           {"2", 2, ""},
                      {"1", 3, ""},           {"kick", -1, "#0 #2"},   {"left", -1, "no instance"},
                      {"#4", -1, "holds no"}, {"#16", -1, "#15"},      {"#-1", -1, "#15"},
                      {"#1x", -1, "#15"},     {"", -1, "no instance"}, {"\x1b", -1, "\"?\""}};
    for (const auto& row : rows) {
        const registry::Resolved result = registry::resolve(slots, row.typed);
        EXPECT_EQ(result.slot ? result.slot->index : -1, row.slot) << row.typed;
        EXPECT_NE(result.error.find(row.part), std::string::npos) << result.error;
    }
}

TEST(RegistryTool, ForeignTextCannotSteerTheTerminal) {
    const std::pair<const char*, const char*> rows[] = {
        {"B\xC3\xA4ss \xE2\x82\xAC \xF0\x9F\xA5\x81", "B\xC3\xA4ss \xE2\x82\xAC \xF0\x9F\xA5\x81"},
        {"\x1b[31m\n\x7F", "?[31m??"},
        {"\xC2\x9B", "?"},
        {"cut \xE2\x82", "cut ??"},
        {"\xC0\xAF\xED\xA0\x80", "?????"},
        {"\xFFx", "?x"},
        {"\xF4\x90\x80\x80", "????"}};
    for (const auto& [foreign, shown] : rows)
        EXPECT_EQ(registry::printable(foreign), shown);
}

using RegistryToolLive = raw::RegistryTest;

TEST_F(RegistryToolLive, FindsTheProcessOfASlot) {
    TessellaDuckworkSHM handle; // on the stack: the upper half of its address is not zero
    ASSERT_TRUE(handle.Open());
    EXPECT_EQ(shm::FindOwner(handle.MyId()), getpid());
    EXPECT_FALSE(shm::FindOwner(handle.MyId() ^ (std::uint64_t{1} << 46)).has_value());
}

} // namespace
