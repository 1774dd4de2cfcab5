#include "ui/HitTest.h"
#include "tests/support/Test.h"

namespace {

using enum ui::Target;
using ui::Target;

// Bands meet at 200 Hz and 2 kHz: a decade is 944 / 3 = 314.67 units, so at 322.67 and 637.33.
// They end at 10 kHz: 8 + 314.67 · log10(500) = 857.28. Thresholds lie 70 units below the top.
TEST(HitTest, FindsTheFirstOfTheFixedOrder) {
    // clang-format off
    shm::BandSet bands = {
        .bands = {{{.hiHz = 200}, {.loHz = 200, .hiHz = 2000}, {.loHz = 2000, .hiHz = 10000}}}, .count = 3};
    const shm::BandSet none;
    const std::tuple<const char*, ui::Point, Target> cases[] = { // linked, list open
        {"above the knobs' panel", {928, 568}, ResizeCorner}, {"name", {286, 8}, Name},
        {"26 units away", {58, 564}, LocalAttack}, {"more", {57.8F, 564}, None},
        {"last knob", {892, 520}, PeerMakeup}, {"header", {288, 275}, Dropdown},
        {"over a filter", {8, 290}, Entry}, {"a gap", {100, 300}, None},
        {"last entry", {9, 321}, Entry + 1}, {"its list", {9, 325}, None},
        {"below", {9, 326}, RemoteBand},
        {"8.9 off 8", {16.9F, 52}, LocalHighPass}, {"9 off", {17, 52}, LocalBand},
        {"below", {16, 52.1F}, LocalBand}, {"end", {944, 34}, LocalLowPass},
        {"7.9 off", {330.5F, 104}, LocalEdge}, {"8.1", {330.8F, 99}, LocalThreshold + 1},
        {"11.9 off", {500, 115.9F}, LocalThreshold + 1}, {"12", {500, 116}, LocalBand + 1},
        {"21.9 off", {615.5F, 116}, LocalRatio + 1}, {"22.1", {615, 104}, LocalThreshold + 1},
        {"beside the bands", {900, 104}, None}, {"its end", {860, 296}, RemoteLowPass},
        {"remote", {850, 348}, RemoteRatio + 2}, {"edge", {630, 488}, RemoteEdge + 1},
    };
    const std::pair<float, Target> widths[] = { // of a band, and what is hit 20 units from its left
        {36.1F, LocalRatio}, {35.9F, LocalThreshold}, {30.1F, LocalThreshold}, {29.9F, LocalBand}};
    // clang-format on
    for (const auto& [what, p, target] : cases) {
        const auto hit = [&, at = p](const shm::BandSet& remote, bool linked, bool open) {
            return hitTest(at, {{{20, 1e6F}, bands}, {{20, 10000}, remote}, linked, open, 2});
        };
        EXPECT_EQ(hit(bands, true, true), target) << what << ' ' << p.x;
        if (p.y <= 275 || p.y >= 490)
            continue;
        EXPECT_EQ(hit(bands, false, false), None) << "not linked";
        EXPECT_EQ(hit(none, true, false), None) << "without bands";
        EXPECT_NE(hitOf(hit(bands, true, false)).part, ui::Part::Entry) << "list closed";
    }
    // As many as a registry can offer, 317 / 15 = 21.13 apart: over a knob, and still on the
    // canvas.
    for (const auto& [y, entry] : {std::pair{280 + 12 * 21.13F, 12}, {279 + 14 * 21.13F + 20, 14}})
        EXPECT_EQ(ui::hitTest({68, y}, {{{}, bands}, {{}, bands}, true, true, 15}), Entry + entry);
    EXPECT_LE(ui::dropdownList(15).bottom(), 600);
    for (const auto& [units, target] : widths) {
        bands = {.bands = {{{.hiHz = ui::hzAt(8 + units)}}}, .count = 1};
        EXPECT_EQ(hitTestBandArea({28, 104}, ui::Side::Local, bands), target) << units;
    }
}

} // namespace
