#include "ui/SpectralBands.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

using ui::BandList;

BandList bandsOf(std::initializer_list<float> edges) {
    BandList list;
    for (const float* lo = edges.begin(); lo != edges.end(); lo += 2, ++list.count)
        list[list.count] = {.lo = *lo, .hi = lo[1], .ratio = 1 + static_cast<float>(list.count)};
    return list;
}

/// "20-90a 90-999b": edges, and which band of the list it was.
std::string shown(const BandList& list) {
    std::ostringstream text;
    for (int i = 0; i < list.count; ++i)
        text << (i > 0 ? " " : "") << list[i].lo << '-' << list[i].hi << " abc"[int(list[i].ratio)];
    return text.str();
}

TEST(SpectralBands, EditsGiveTheseBands) {
    const BandList one = bandsOf({20, 20000}), two = bandsOf({20, 90, 90, 19000});
    const BandList three = bandsOf({20, 200, 200, 5000, 5000, 8000});
    const BandList gaps = bandsOf({20, 200, 200, 300, 5000, 8000});
    const BandList mixed = bandsOf({900, 950, 40, 100, 900, 999});
    const BandList dragged = bandsOf({100, 19000, 200, 250, 300, 400});
    // clang-format off
    const std::tuple<const char*, BandList, void (*)(BandList&), const char*> cases[] = {
        {"not 10 Hz from an edge", one, [](auto& l) { splitBand(l, 30), splitBand(l, 19990); }, "20-20000a"},
        {"merge", three, [](auto& l) { mergeBands(l, 0); }, "20-5000a 5000-8000c"},
        {"no such edge", two, [](auto& l) { mergeBands(l, -1); }, "20-90a 90-19000b"},
        {"below edge 1", three, [](auto& l) { moveEdge(l, 0, 9e3F); }, "20-4990a 4990-5000b 5000-8000c"},
        {"above the lower edge", two, [](auto& l) { moveEdge(l, 0, 0); }, "20-30a 30-19000b"},
        {"deliberate: past band 2", three, [](auto& l) { moveEdge(l, 1, 9e3F); }, "20-200a 200-9000b 9000-8000c"},
        {"above edge 0", three, [](auto& l) { moveEdge(l, 1, 20); }, "20-200a 200-210b 210-8000c"},
        {"as wide at 20 kHz", three, [](auto& l) { moveBand(l, 1, 1e3F, 4e3F, 2e4F); }, "20-5000a 5000-20000b 20000-8000c"},
        {"pressed below the axis", two, [](auto& l) { moveBand(l, 0, 0, 90, 100); }, "100-450a 450-19000b"},
        {"joined at means", mixed, [](auto& l) { sortBands(l, {5, 1e6F}); }, "20-500b 500-925a 925-20000c"},
        {"filters past edges", two, [](auto& l) { sortBands(l, {1000, 1000}); }, "1000-1000a 1000-1000b"},
        {"over each other", dragged, [](auto& l) { sortBands(l, {NAN, NAN}); }, "20-9600a 9600-9600b 9600-20000c"},
        {"a is 600-601 first", bandsOf({20, 90, 600, 999}), [](auto& l) { moveHighPass(l, {600, 20000}); }, "600-600.5a 600.5-20000b"},
        {"c is 1099-1100 first", gaps, [](auto& l) { moveLowPass(l, {20, 1100}); }, "20-200a 200-699.5b 699.5-1100c"},
        {"not below 1 kHz", one, [](auto& l) { moveLowPass(l, {20, 100}); }, "20-1000a"},
    };
    // clang-format on
    for (auto [what, list, edit, after] : cases) {
        edit(list);
        EXPECT_EQ(shown(list), after) << what;
    }
}

TEST(SpectralBands, TakesForeignRecordsAndStates) {
    const float odd = std::nextafter(333.0F, 400.0F); // valid values keep every bit
    const BandList list = ui::fromRecords(
        {{{odd, 100, -0.0F, 1.5F}, {-3, 1e9F, -61, 0, false}, {NAN, -HUGE_VALF, NAN, 99}}}, 9);
    EXPECT_EQ(edgesOf(list), (std::array<float, 6>{odd, 100, 20, 20000, 20, 20000}));
    EXPECT_TRUE(list[0].ratio == 1.5F && list[1].ratio == 1 && list[2].ratio == 20);
    EXPECT_TRUE(std::signbit(list[0].threshold) && !list[1].enabled);
    EXPECT_TRUE(list[1].threshold == -60 && list[2].threshold == -20);
    EXPECT_EQ(ui::fromRecords(toRecords(list), -4).count, 0);
    // What, count and edges saved, edges taken (or made of splits at 300 and 30000), sent splits.
    using Edges = std::array<float, 6>;
    const std::tuple<const char*, int, Edges, Edges, float, float> cases[] = {
        {"even apart", 2, {30, 400, 900, 950}, {30, 400, 900, 950}, 400, 20000},
        {"no end", 2, {20, 90, 90, HUGE_VALF}, {20, 300, 300, 20000}, 300, 20000},
        {"third turned", 3, {2, 9, 2, 9, 9, 9}, {20, 300, 300, 2e4F, 2e4F, 2e4F}, 300, 20000},
        {"count 0, edge 0", 0, {0, 90}, {20, 20000}, 20, 20000},
        {"outside", 9, {1, 4e3F, 5, 400, 1, 1e9F}, {20, 4e3F, 20, 400, 20, 2e4F}, 2000, 500}};
    for (const auto& [what, count, saved, edges, lowHz, highHz] : cases) {
        const BandList taken = ui::bandsFromState(count, saved, {300, 30000});
        EXPECT_EQ(edgesOf(taken), edges) << what;
        EXPECT_TRUE(crossoversOf(taken).lowHz == lowHz && crossoversOf(taken).highHz == highHz);
        EXPECT_EQ(&bandOrLast(taken, 2), &taken.bands[size_t(taken.count) - 1]) << what;
    }
}

} // namespace
