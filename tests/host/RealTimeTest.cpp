#include "tests/support/RealTimeWatch.h"
#include "tests/support/Test.h"
#include "tests/support/Track.h"

namespace {

/// Runs something on a thread of its own whose system calls are trapped.
template <class Action>
void onTrappedThread(const Action& action) {
    std::thread([&] {
        if (support::trapSystemCalls())
            action();
        else
            ADD_FAILURE() << "system calls cannot be trapped here";
    }).join();
}

TEST(Watch, SeesWhatItMustAlsoInThePlugin) {
    const auto library = support::plugin();
    const host::HostCallbacks callbacks;
    const auto& factory = library->factory();
    const RealTimeWatch watch;
    const clap_plugin_t* const plugin =
        factory.create_plugin(&factory, callbacks.record(), "com.Orlavenko.TessellaDuckwork");
    plugin->destroy(plugin);
    EXPECT_GT(watch.seen().allocations, 0);
    EXPECT_GT(watch.seen().locks, 0);
    onTrappedThread([] {
        const RealTimeWatch ownWatch;
        const timespec moment{0, 1};
        nanosleep(&moment, nullptr);
        EXPECT_EQ(ownWatch.seen().systemCalls, 1);
    });
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
    onTrappedThread([&] {
        for (int block = 0; block < 10000 && !testing::Test::HasFailure(); ++block) {
            if (dice.oneIn(4))
                support::editAnything(track.id(), dice);
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
            EXPECT_EQ(seen.allocations, 0);
            EXPECT_EQ(seen.locks, 0);
            EXPECT_EQ(seen.systemCalls, 0) << "the last was " << seen.lastSystemCall;
            eventsOut += track.sent.size();
            track.events.clear();
            track.sent.clear();
        }
    });
    EXPECT_GT(eventsOut, 100U) << "edits arrive all the time";
}

} // namespace
