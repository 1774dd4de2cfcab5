#include "ui/ControlMap.h"
#include "tests/support/Test.h"

namespace {

using enum ui::Target;

TEST(ControlMap, GesturesMoveValues) {
    // clang-format off
    // What, target, its parameter, value at press, units up (fine if 1.5 or less), dragged, one notch up.
    const std::tuple<const char*, ui::Target, int, float, float, float, float> cases[] = {
        {"5 + 0.07762 · 1995 = 159.85", LocalRelease, 9, 100, 10, 160, 120},
        {"36 · 0.0008 · -1.5 = -0.04, not -0", PeerMakeup, 10, 0, -1.5F, 0, 0.4F},
        {"60 · 0.0008 · 1.5", LocalThreshold, 2, -20, 1.5F, -19.928F, -19.4F},
        {"beyond the top", LocalRatio, 5, 4, 1e9F, 20, 4.19F},
        {"in the registry alone", RemoteRatio + 2, -1, 20, 10, 20, 20},
        {"of 19500 Hz", LocalEdge + 1, 1, 5000, 1e4F, 20000, 5195},
        {"no pointer", LocalHighPass, 12, 20, NAN, 20, 29.8F},
        {"nothing to edit", RemoteEdge, -1, 0, 10, 0.03F, 0.01F},
    };
    // clang-format on
    for (const auto& [what, target, param, atPress, up, dragged, wheeled] : cases) {
        const ui::Hit hit = hitOf(target);
        const ui::ControlRange range = ctrlToParam(hit);
        const float value = draggedValue(range, atPress, up, up <= 1.5F);
        EXPECT_TRUE(range.param == param && wheelActsOn(hit) == (param >= 0)) << what;
        EXPECT_NEAR(value, dragged, 1e-4) << what;
        EXPECT_FALSE(value == 0 && std::signbit(value)) << what;
        EXPECT_NEAR(wheeledValue(range, atPress, true), wheeled, 1e-3) << what;
    }
    EXPECT_NEAR(ui::draggedHz(200, 944.0F / 3), 2000, 0.01); // a decade
    EXPECT_TRUE(ui::draggedHz(-1, -1e9F) == 20 && ui::draggedHz(200, NAN) == 20);
}

} // namespace
