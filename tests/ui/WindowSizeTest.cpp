#include "ui/WindowSize.h"
#include "tests/support/Test.h"

namespace {

using ui::SizePx;

// The first tick of a size makes it the candidate; the thirtieth after it counts, no later one.
TEST(HostSizeFollower, AsksOnceASizeHasSettled) {
    // What, whether it opens, remembered size, parent's, ticks, which of them asks for what (or 0).
    const std::tuple<const char*, bool, SizePx, SizePx, int, int, SizePx> steps[] = {
        {"the first size is only recorded", true, {0, 600}, {960, 600}, 90, 0, {}},
        {"not yet laid out", false, {}, {1, 600}, 90, 0, {}},
        {"least", false, {}, {2, 600}, 90, 31, {480, 300}},
        {"unstable", false, {}, {700, 600}, 30, 0, {}},
        {"(500 · 600 + 480) / 960 = 313", false, {}, {500, 400}, 300, 31, {500, 313}},
        {"16 pixels are rounding", false, {}, {516, 384}, 90, 0, {}},
        {"17 since the last that counted", false, {}, {517, 400}, 90, 31, {517, 323}},
        {"height alone", false, {}, {517, 417}, 90, 31, {517, 323}},
        {"most", false, {}, {1 << 30, 417}, 31, 31, {3840, 2400}},
        {"as it was asked for", false, {}, {3840, 2400}, 90, 0, {}},
        {"with a will of its own", false, {}, {1000, 600}, 31, 31, {1000, 625}},
        {"which it shows again", false, {}, {980, 605}, 31, 31, {980, 613}},
        {"and is left to", false, {}, {960, 593}, 90, 0, {}},
        {"the next is the user's", false, {}, {900, 500}, 90, 31, {900, 563}},
        {"back to the remembered size", true, {960, 617}, {960, 600}, 31, 31, {960, 617}},
        {"which the host may refuse", false, {960, 617}, {960, 600}, 90, 0, {}},
        {"then it is followed", false, {960, 617}, {1000, 600}, 90, 31, {1000, 625}},
        {"near the remembered", true, {976, 616}, {960, 600}, 90, 0, {}}};
    ui::HostSizeFollower follower;
    for (const auto& [what, opens, remembered, parent, ticks, asksAt, asked] : steps) {
        if (opens)
            follower = {};
        for (int tick = 1; tick <= ticks; ++tick) {
            const auto request = follower.externalSizeTick(parent, remembered);
            ASSERT_EQ(request.has_value(), tick == asksAt) << what << ", tick " << tick;
            EXPECT_TRUE(!request || (request->wanted == asked && request->remember != opens))
                << what;
        }
    }
}

TEST(CornerDrag, FollowsThePointerAndTellsTheHostNowAndThen) {
    ui::CornerDrag drag;
    drag.press(100.5, {960, 600});
    const std::tuple<const char*, double, SizePx, bool> moves[] = {
        {"965.9, 600 + 600 · 5.9 / 960", 106.4, {965, 603}, false},
        {"954.9, six less than 960", 95.4, {954, 596}, true},
        {"based on 954: 596 · 949 / 954 = 592.9", 90.4, {949, 592}, false}};
    for (const auto& [what, x, size, send] : moves) {
        const auto move = drag.move(x);
        EXPECT_TRUE(move.size == size && move.send == send) << what << ": " << move.size.width;
    }
    EXPECT_EQ(drag.release({700, 500}), (SizePx{949, 592}));
    EXPECT_EQ(drag.release({700, 500}), (SizePx{700, 500})) << "not moved since";
}

} // namespace
