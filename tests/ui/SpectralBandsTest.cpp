#include "ui/SpectralBands.h"
#include "tests/support/Test.h"

namespace {

using namespace ui;
using shm::BandSet;

BandSet bandsOf(std::initializer_list<float> edges) {
    BandSet list;
    for (const float* lo = edges.begin(); lo != edges.end(); lo += 2, ++list.count)
        list[list.count] = {
            .loHz = *lo, .hiHz = lo[1], .ratio = 1 + static_cast<float>(list.count)};
    return list;
}

/// "20-90a 90-999b": edges, and which band of the list it was.
std::string shown(const BandSet& list) {
    std::ostringstream text;
    for (int i = 0; i < list.count; ++i)
        text << (i > 0 ? " " : "") << list[i].loHz << '-' << list[i].hiHz
             << " abc"[int(list[i].ratio)];
    return text.str();
}

TEST(SpectralBands, EditsGiveTheseBands) {
    const BandSet one = bandsOf({20, 20000}), two = bandsOf({20, 90, 90, 19000});
    const BandSet three = bandsOf({20, 200, 200, 5000, 5000, 8000});
    const BandSet gaps = bandsOf({20, 200, 200, 300, 5000, 8000});
    const BandSet mixed = bandsOf({900, 950, 40, 100, 900, 999});
    const BandSet dragged = bandsOf({100, 19000, 200, 250, 300, 400});
    // clang-format off
    const std::tuple<const char*, BandSet, void (*)(BandSet&), const char*> cases[] = {
        {"not 10 Hz from an edge", one, [](auto& l) { splitBand(l, 30), splitBand(l, 19990); }, "20-20000a"},
        {"merge", three, [](auto& l) { mergeBands(l, 0); }, "20-5000a 5000-8000c"},
        {"no such edges", two, [](auto& l) { mergeBands(l, -1), mergeBands(l, 1); }, "20-90a 90-19000b"},
        {"below edge 1", three, [](auto& l) { moveEdge(l, 0, 9e3F); }, "20-4990a 4990-5000b 5000-8000c"},
        {"above the lower edge", two, [](auto& l) { moveEdge(l, 0, 0); }, "20-30a 30-19000b"},
        {"deliberate: past band 2", three, [](auto& l) { moveEdge(l, 1, 9e3F); }, "20-200a 200-9000b 9000-8000c"},
        {"no room on the axis", bandsOf({20, 22, 22, 25, 25, 8000}), [](auto& l) { moveEdge(l, 0, 21); }, "20-20a 20-25b 25-8000c"},
        {"above edge 0", three, [](auto& l) { moveEdge(l, 1, 20); }, "20-200a 200-210b 210-8000c"},
        {"as wide at 20 kHz", three, [](auto& l) { moveBand(l, 1, 1e3F, 4e3F, 2e4F); }, "20-5000a 5000-20000b 20000-8000c"},
        {"pressed below the axis", two, [](auto& l) { moveBand(l, 0, 0, 90, 100); }, "100-450a 450-19000b"},
        {"joined at means", mixed, [](auto& l) { sortBands(l, {-INFINITY, INFINITY}); }, "20-500b 500-925a 925-20000c"},
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

} // namespace
