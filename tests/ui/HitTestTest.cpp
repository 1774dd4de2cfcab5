#include "ui/HitTest.h"

#include <gtest/gtest.h>

namespace {

using ui::Target;

// Bands meet at 200 Hz and 2 kHz: a decade is 944 / 3 = 314.67 units, so at 322.67 and 637.33.
// They end at 10 kHz: 8 + 314.67 · log10(500) = 857.28. Thresholds lie 70 units below the top.
TEST(HitTest, FindsTheFirstOfTheFixedOrder) {
    ui::BandList bands, none;
    bands.count = 3;
    bands[0].hi = bands[1].lo = 200;
    bands[1].hi = bands[2].lo = 2000;
    bands[2].hi = 10000;
    // clang-format off
    const std::tuple<const char*, ui::Point, Target> cases[] = { // linked, list open
        {"own bypass", {574, 30}, Target::OwnBypass}, {"own duck", {580, 12}, Target::OwnDuck},
        {"peer bypass", {548, 274}, Target::PeerBypass}, {"its duck", {636, 256}, Target::PeerDuck},
        {"above the knobs' panel", {928, 568}, Target::ResizeCorner}, {"name", {286, 8}, Target::Name},
        {"26 units away", {58, 564}, Target::LocalAttack}, {"more", {57.8F, 564}, Target::None},
        {"last knob", {892, 520}, Target::PeerMakeup}, {"header", {288, 275}, Target::Dropdown},
        {"over a filter", {8, 290}, Target::Entry}, {"below", {100, 300}, Target::RemoteBand},
        {"last entry", {9, 321}, Target::Entry + 1}, {"below", {9, 322}, Target::RemoteBand},
        {"8.9 off 8", {16.9F, 52}, Target::LocalHighPass}, {"9 off", {17, 52}, Target::LocalBand},
        {"below", {16, 52.1F}, Target::LocalBand}, {"end", {944, 34}, Target::LocalLowPass},
        {"7.9 off", {330.5F, 104}, Target::LocalEdge}, {"8.1", {330.8F, 99}, Target::LocalThreshold + 1},
        {"11.9 off", {500, 115.9F}, Target::LocalThreshold + 1}, {"12", {500, 116}, Target::LocalBand + 1},
        {"21.9 off", {615.5F, 116}, Target::LocalRatio + 1}, {"22.1", {615, 104}, Target::LocalThreshold + 1},
        {"beside the bands", {900, 104}, Target::None}, {"its end", {860, 296}, Target::RemoteLowPass},
        {"remote", {850, 348}, Target::RemoteRatio + 2}, {"edge", {630, 488}, Target::RemoteEdge + 1},
    };
    // clang-format on
    for (const auto& [what, p, target] : cases) {
        const auto hit = [&, at = p](const ui::BandList& remote, bool linked, bool open) {
            return hitTest(at, {{20, 1e6F}, bands, {20, 10000}, remote, linked, open, 2});
        };
        EXPECT_EQ(hit(bands, true, true), target) << what << ' ' << p.x;
        if (p.y <= 275 || p.y >= 490)
            continue;
        EXPECT_EQ(hit(bands, false, false), Target::None) << "not linked";
        EXPECT_EQ(hit(none, true, false), Target::None) << "without bands";
        EXPECT_LT(indexIn(Target::Entry, hit(bands, true, false)), 0) << "list closed";
    }
    for (const auto& [units, target] : {std::pair{36.1F, Target::LocalRatio},
                                        {35.9F, Target::LocalThreshold},
                                        {30.1F, Target::LocalThreshold},
                                        {29.9F, Target::LocalBand}}) {
        bands = {.bands = {{{.hi = ui::hzAt(8 + units)}}}, .count = 1};
        EXPECT_EQ(hitTestBandArea({28, 104}, ui::Side::Local, bands), target) << units;
    }
}

} // namespace
