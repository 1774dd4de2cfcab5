#include "tests/support/Plugged.h"
#include "tests/support/Test.h"

#include <cstdlib>
#include <mutex>

namespace {

/// Of one group, to anything.
shm::SettingsEdit anyEdit(Dice& dice) {
    constexpr float kValues[] = {kNan, kInfinity, -kInfinity, 1e30F, -30, 5, 50, 500, 5000};
    const auto any = [&] { return kValues[dice.below(std::size(kValues))]; };
    const TDBand bands[] = {{20, 300, any(), any(), dice.oneIn(2), {}},
                            {300, any(), any(), any(), dice.oneIn(2), {}}};
    const shm::SettingsEdit edits[] = {{.bands = shm::SetOf(bands, 1 + int(dice.below(2)))},
                                       {.filters = {any(), any()}},
                                       {.controls = {any(), any(), any()}}};
    return edits[dice.below(3)];
}

/// The host's audio thread of an instance. Activation and blocks take turns.
void play(Plugged& p, std::mutex& turns, const std::stop_token& stop) {
    for (Dice dice(static_cast<unsigned>(p.index)); !stop.stop_requested();) {
        if (dice.oneIn(3))
            p.in.addParamValue(dice.below(kNumParams), dice.below(101) / 100.0);
        const std::scoped_lock turn(turns);
        if (dice.oneIn(500))
            p.instance.reset();
        p.block();
    }
}

/// Its editor's.
void edit(Plugged& p, const std::stop_token& stop) {
    EditorView view;
    Dice dice(static_cast<unsigned>(p.index) + 10);
    const std::function<void()> acts[] = {
        [&] { p.plug.BeginEditing(); },
        [&] { p.plug.SetInstanceName(dice.oneIn(2) ? "kick" : "bass"); },
        [&] { view.instances.empty() ? void() : p.plug.PairWith(view.instances.front()); },
        [&] { dice.oneIn(2) ? p.plug.ToggleOwnDuck() : p.plug.TogglePeerDuck(); },
        [&] { dice.oneIn(2) ? p.plug.ToggleOwnBypass() : p.plug.TogglePeerBypass(); },
        [&] { p.plug.SetParam(LinkSlot, dice.below(2)); },
        [&] { p.plug.EditPeer(anyEdit(dice)); },
        [&] { p.plug.EditOwn(anyEdit(dice)); }};
    while (!stop.stop_requested()) {
        view = p.followRegistry();
        acts[dice.below(std::size(acts))]();
    }
}

/// Everybody at once on a pair: blocks with automation, both editors, saves, loads, activations,
/// windows. Whether their threads may share what they share is for the thread sanitizer to say;
/// TD_STRESS_SECONDS makes it longer.
TEST(Stress, EditsFromAllSidesLeaveUsableSettings) {
    const char* const wanted = std::getenv("TD_STRESS_SECONDS"); // NOLINT(concurrency-mt-unsafe)
    const auto end = std::chrono::steady_clock::now() +
                     std::chrono::seconds(wanted != nullptr ? std::atoi(wanted) : 2);
    const support::Bytes chunks[] = {support::chunkFile("before"), support::chunkFile("full")};
    Plugged pair[] = {Plugged(0), Plugged(1)};
    pair[0].monitor.Pair(pair[0].id, pair[1].id);
    std::mutex turns[2];
    std::vector<std::jthread> threads;
    for (Plugged& p : pair) {
        p.start();
        threads.emplace_back([&](const std::stop_token& stop) { play(p, turns[p.index], stop); });
        threads.emplace_back([&](const std::stop_token& stop) { edit(p, stop); });
    }
    int rounds = 0;
    for (Dice dice(30); std::chrono::steady_clock::now() < end && !HasFailure(); ++rounds) {
        Plugged& p = pair[dice.below(2)];
        ASSERT_TRUE(host::loadState(p.instance, chunks[dice.below(2)]));
        EXPECT_EQ(host::saveState(p.instance).value_or(support::Bytes{}).size(), chunks[0].size());
        p.instance.pumpMainThread();
        if (dice.oneIn(50)) {
            const std::scoped_lock noBlock(turns[p.index]);
            p.instance.stopProcessing();
            p.instance.deactivate();
            p.start();
        }
        if (dice.oneIn(20)) {
            p.plug.OpenWindow(nullptr);
            p.plug.CloseWindow();
        }
        for (int param = 0; param < kNumParams; ++param)
            EXPECT_TRUE(p.value(param) >= p.plug.GetParam(param).Spec().min &&
                        p.value(param) <= p.plug.GetParam(param).Spec().max)
                << param;
    }
    EXPECT_GT(rounds, 0);
}

} // namespace
