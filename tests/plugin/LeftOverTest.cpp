#include "tests/support/Test.h"
#include "tests/support/Plugged.h"

namespace {

TEST(LeftOver, OfWhatFindsTheLockBusyIsPublishedLaterAndWaitedForOnceEach) {
    using Clock = std::chrono::steady_clock;
    Plugged p;
    {
        const raw::HeldLock busy;
        const auto begin = Clock::now();
        p.plug.SetInstanceName("kick");
        const auto oneWait = Clock::now() - begin;
        p.start();
        EXPECT_LT(Clock::now() - begin, 3 * oneWait) << "two, and not one more";
        p.plug.Own().SetDuckSelf(false);
        iplug::IByteChunk chunk;
        EXPECT_TRUE(p.plug.SerializeState(chunk) && !p.plug.Own().DuckSelf())
            << "a save undoes nothing";
    }
    EXPECT_STRNE(p.slot().name, "kick");
    EXPECT_TRUE(p.slot().latencySamples == 0 && p.slot().duckSelf);
    p.block();
    EXPECT_STREQ(p.slot().name, "kick");
    EXPECT_TRUE(p.slot().latencySamples == 1024 && !p.slot().duckSelf);
}

TEST(LeftOver, AnInstanceWithoutASlotTakesTheNextOneWithAllItsSettings) {
    std::array<TessellaDuckworkSHM, 16> others;
    for (auto& other : others)
        ASSERT_TRUE(other.Open());
    Plugged p(5);
    p.plug.Own().SetDuckSelf(false);
    p.plug.SetInstanceName("late");
    p.in.addParamValue(HP, p.plug.GetParam(HP).ToHost(120));
    p.in.addParamValue(Attack, p.plug.GetParam(Attack).ToHost(33));
    p.start();
    p.block();
    EXPECT_FALSE(p.plug.Registry().Opened());
    others[5].Close();
    for (int i = 0; i < 2000 && !p.plug.Registry().Opened(); ++i)
        std::this_thread::sleep_for(10ms); // the next heartbeat
    p.block();
    const auto slot = p.slot();
    EXPECT_EQ(slot.id, p.plug.Registry().MyId());
    EXPECT_STREQ(slot.name, "late");
    EXPECT_TRUE(slot.bandCount == 1 && slot.bands[0].ratio == 4.0F && slot.latencySamples == 1024);
    EXPECT_TRUE(slot.hpHz == 120.0F && slot.attackMs == 33.0F);
    EXPECT_TRUE(!slot.duckSelf && !p.plug.Own().DuckSelf())
        << "nothing of an empty slot is taken over";
    EXPECT_EQ(p.value(Attack), 33.0);
}

} // namespace
