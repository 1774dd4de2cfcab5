#include "tests/support/RealTimeWatch.h"
#include "tests/support/Test.h"
#include "tests/support/Track.h"

namespace {

/// Edits all settings of an instance as another one's editor does.
void editAnything(shm::RegistryMonitor& registry, std::uint64_t id, Dice& dice) {
    const auto any = [&](double low, double high) { return float(dice.between(low, high)); };
    const TDBand bands[] = {{20, 300, any(-60, 0), any(1, 20), dice.oneIn(2), {}},
                            {300, any(600, 5000), any(-60, 0), any(1, 20), dice.oneIn(2), {}}};
    registry.WriteBandsOf(id, bands, 1 + static_cast<int>(dice.below(2)));
    registry.WriteHpLpOf(id, any(20, 1000), any(1000, 20000));
    registry.WriteControlsOf(id, any(0.1, 300), any(5, 2000), any(-12, 24));
    registry.SetDuckSelfOf(id, dice.oneIn(2));
}

TEST(WatchedPlugin, NeitherAllocatesNorWaitsNorCallsTheSystemInTenThousandBlocks) {
    constexpr std::uint32_t kMaxFrames = 1024;
    Track track, peer;
    shm::RegistryMonitor monitor;
    ASSERT_TRUE(monitor.Attach());
    Dice dice(9);
    host::AudioBuffers audio(kMaxFrames);
    for (std::uint32_t i = 0; i < 2 * kMaxFrames; ++i)
        audio.input().set(i % 2, i / 2, dice.between(-1, 1));
    for (Track* each : {&track, &peer}) {
        each->start(48000.0, {.maxFrames = kMaxFrames});
        // The first block tells the host of the tail, and our host takes a note.
        each->instance.process(audio, kMaxFrames);
    }
    std::uint32_t eventsOut = 0;
    const auto play = [&] {
        if (dice.oneIn(4))
            editAnything(monitor, track.id(), dice);
        if (dice.oneIn(8))
            monitor.SetBypassOf(track.id(), dice.oneIn(4));
        if (dice.oneIn(8))
            dice.oneIn(4) ? monitor.Unpair(track.id()) : monitor.Pair(track.id(), peer.id());
        peer.instance.process(audio, 1 + dice.below(kMaxFrames));
        while (dice.oneIn(2))
            track.events.addParamValue(dice.below(kNumParams), dice.between(0, 1));
        std::optional<raw::HeldLock> busy;
        if (dice.oneIn(4))
            busy.emplace();
        const RealTimeWatch watch;
        track.instance.process(audio, 1 + dice.below(kMaxFrames), track.events, track.sent);
        const Offences seen = watch.seen();
        EXPECT_TRUE(seen.allocations == 0 && seen.locks == 0);
        EXPECT_EQ(seen.systemCalls, 0) << "the last was " << seen.lastSystemCall;
        eventsOut += track.sent.size();
        track.events.clear();
        track.sent.clear();
    };
    const auto* const state = track.instance.extension<clap_plugin_state_t>(CLAP_EXT_STATE);
    std::thread([&] {
        ASSERT_TRUE(support::trapSystemCalls()) << "system calls cannot be trapped here";
        for (int block = 0; block < 10000 && !testing::Test::HasFailure(); ++block)
            play();
        const RealTimeWatch watch; // sees what it must, also in the plug-in
        const timespec moment{0, 1};
        nanosleep(&moment, nullptr);
        EXPECT_EQ(watch.seen().systemCalls, 1);
        const clap_ostream_t full{nullptr, [](auto...) { return std::int64_t{-1}; }};
        EXPECT_FALSE(state->save(track.instance.plugin(), &full));
        EXPECT_TRUE(watch.seen().allocations > 0 && watch.seen().locks > 0);
    }).join();
    EXPECT_GT(eventsOut, 100U) << "edits arrive all the time";
}

} // namespace
