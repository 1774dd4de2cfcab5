// What must hold of an instance's settings, whoever changes them and whoever is gone.
#include "tests/support/Plugged.h"
#include "tests/support/Test.h"

namespace {

constexpr int kFrame = 8; ///< blocks; each completes a frame

/// Plays the same loud noise in every frame.
struct Player : Plugged {
    explicit Player(std::size_t slotIndex, const char* name = nullptr) : Plugged(slotIndex) {
        start();
        plug.SetInstanceName(name);
    }
    void play(int count) {
        for (; count > 0; --count, ++blocks, block())
            for (std::uint32_t i = 0; i < 2 * kFrames; ++i)
                audio.input().set(i % 2, i / 2, noise[blocks % kFrame * kFrames + i / 2]);
    }
    /// Gain reduction of the band in the middle, dB.
    [[nodiscard]] float ducking() const {
        float low = 0, mid = 0, high = 0;
        plug.GetGainReduction(low, mid, high);
        return mid;
    }
    [[nodiscard]] bool isHeard() const {
        using Spectrum = std::array<float, shm::kAudioBinCount>;
        return raw::Segment().Get<Spectrum>(raw::Slot(index) + raw::kAudioBins) != Spectrum{};
    }
    std::size_t blocks = 0;
    std::vector<double> noise = support::noise(kFrame * kFrames, 1.0, 7).left;
};

/// Bands that duck the noise deeply; the middle one of three as told.
shm::BandSet deep(int count, bool midOn = true) {
    constexpr float kSplits[] = {20, 200, 5000, 20000};
    shm::BandSet set{.bands = {}, .count = count};
    for (int i = 0; i < count; ++i)
        set[i] = {kSplits[i], kSplits[i + 1], -60, 20, i != 1 || midOn, {}};
    set.Last().hiHz = kSplits[3];
    return set;
}

struct Duet {
    Player own{0}, peer{1};
    explicit Duet(int bands = 1) {
        EXPECT_TRUE(own.monitor.Pair(own.id, peer.id));
        own.monitor.WriteBandsOf(own.id, deep(bands).bands.data(), bands);
    }
    void play(int frames) {
        for (int i = 0; i < frames * kFrame; ++i)
            peer.play(1), own.play(1);
    }
};

/// A turn of one knob or filter, perhaps with bands.
shm::SettingsEdit turn(int param, double value, std::optional<shm::BandSet> bands = {}) {
    shm::SettingsEdit edit{.bands = bands};
    (param >= HP ? edit.filters[std::size_t(param - HP)]
                 : edit.controls[std::size_t(param - Attack)]) = float(value);
    return edit;
}

std::string peerNameIn(const Bytes& chunk) { return get<shm::Name>(chunk, kPeerNameAt).data(); }

int peerBandsIn(const Bytes& chunk) { return get<std::int32_t>(chunk, kShadowAt); }

Bytes withPeerName(Bytes chunk, const char* name) {
    std::strncpy(reinterpret_cast<char*>(&chunk[kPeerNameAt]), name, shm::kNameBytes);
    return chunk;
}

TEST(Reopening, StatesThatNameEachOtherPairWithoutAnEditorAndDuckFromTheFirstFrame) {
    Bytes states[2];
    {
        Player kick(0, "Kick"), bass(1, "Bass");
        kick.plug.PairWith(bass.info());
        kick.plug.EditPeer(turn(HP, 30, deep(1)));
        states[0] = kick.saved();
        states[1] = bass.saved();
    }
    EXPECT_EQ(peerNameIn(states[1]), "Kick") << "the side that was chosen remembers, too";
    for (const std::size_t first : {0U, 1U}) {
        Player kick(0), bass(1);
        for (const std::size_t i : {first, 1 - first})
            (i == 0 ? kick : bass).load(states[i]);
        for (int block = 0; block < 2 * kFrame; ++block)
            kick.play(1), bass.play(1);
        EXPECT_LT(bass.ducking(), -5) << "the first frame that has something to duck against";
    }
}

TEST(Reopening, PairsOnlyWithWhomTheRememberedNameMeans) {
    enum Partner { Free, Taken, Widowed, Ours };
    struct Other {
        const char* name;
        bool here = true; ///< in this process
        Partner partner = Free;
    };
    constexpr const char *kGiven = "Bass", *kDefault = "TessellaDuckwork #2";
    const struct {
        const char* what;
        const char* remembered;
        std::vector<Other> others; ///< from slot 1 on
        std::size_t pairedWith;    ///< slot; 0: nobody
    } cases[] = {
        {"free", kGiven, {{kGiven}}, 1},
        {"another name", kGiven, {{"Bas"}, {"Bass2"}}, 0},
        {"of this process: any name", kDefault, {{kDefault}}, 1},
        {"of another: one that a user has given", kGiven, {{kGiven, false}}, 1},
        {"a default name says nothing there", kDefault, {{kDefault, false}}, 0},
        {"only begun like one", "TessellaDuckwork #2b", {{"TessellaDuckwork #2b", false}}, 1},
        {"it has a partner", kGiven, {{kGiven, true, Taken}}, 0},
        {"its partner is gone", kGiven, {{kGiven, true, Widowed}}, 1},
        {"it waits for this one", kGiven, {{kGiven, true, Ours}}, 1},
        {"the own process first", kGiven, {{kGiven, false}, {kGiven}}, 2},
        {"the free one", kGiven, {{kGiven, true, Taken}, {kGiven, false}}, 2},
    };
    for (const auto& c : cases)
        for (const bool loadedLast : {true, false}) {
            SCOPED_TRACE(std::string(c.what) + (loadedLast ? ", at a load" : ", later"));
            raw::Remove();
            Plugged own(0);
            const Bytes state = withPeerName(own.saved(), c.remembered);
            if (!loadedLast)
                own.load(state);
            raw::Segment segment;
            const auto put = [&](std::size_t slot, std::size_t field, auto value) {
                segment.Put(raw::Slot(slot) + field, value);
            };
            std::array<TessellaDuckworkSHM, 2> handles;
            for (std::size_t i = 0; i < c.others.size(); ++i) {
                const auto& [name, here, partner] = c.others[i];
                ASSERT_TRUE(handles[i].Open() && handles[i].SetDisplayName(name));
                if (!here)
                    put(i + 1, raw::kId, handles[i].MyId() ^ (std::uint64_t{1} << 32U));
                put(i + 1, raw::kRemote, partner == Free ? 0 : partner == Ours ? own.id : 99);
                if (partner == Taken) {
                    put(9, raw::kId, std::uint64_t{99});
                    put(9, raw::kActive, std::uint8_t{1});
                    put(9, raw::kHeartbeat, shm::Now());
                }
            }
            loadedLast ? (void)own.load(state) : (void)own.followRegistry();
            const auto expected = segment.Get<std::uint64_t>(raw::Slot(c.pairedWith) + raw::kId);
            EXPECT_EQ(own.slot().remoteId, c.pairedWith == 0 ? 0 : expected);
        }
    raw::Remove();
}

TEST(Reopening, WhatWasSetOnOnePeerIsForNoOther) {
    Player own(0), vocal(1, "Vocal"), bass(2, "Bass");
    own.plug.PairWith(vocal.info());
    own.plug.EditPeer(turn(HP, 80));
    const Bytes preset = own.saved();
    own.plug.PairWith(bass.info());
    EXPECT_EQ(peerBandsIn(own.saved()), 0) << "nothing is set on Bass yet";
    const auto before = bass.slot().hpLpSeq;
    own.load(preset);
    own.followRegistry();
    EXPECT_EQ(bass.slot().hpLpSeq, before);
    EXPECT_EQ(own.saved(), preset) << "kept for Vocal";

    own.monitor.Unpair(own.id);
    for (const float hpHz : {40.0F, 50.0F}) {
        vocal.plug.EditOwn(turn(HP, hpHz));
        own.followRegistry();
        EXPECT_EQ(vocal.slot().hpHz, hpHz == 40 ? 80 : 50) << "paired again, and applied once";
    }
    vocal.plug.SetInstanceName("Lead");
    EXPECT_EQ(peerNameIn(own.saved()), "Lead") << "the same one under a new name";
    EXPECT_EQ(peerBandsIn(own.saved()), 1) << "with what was set on it";
    bass.plug.PairWith(own.info());
    EXPECT_EQ(peerNameIn(own.saved()), "Bass") << "chosen by the other side";
    EXPECT_EQ(peerBandsIn(own.saved()), 0);
}

TEST(Reopening, SetsThePeerAsTheStateSaysAndAStateKeepsWhatItHoldsNow) {
    Player own(0), peer(1, "Bass"); // as remembered
    const auto filtersAndControls = [&] {
        const auto slot = peer.slot();
        return std::array{slot.hpHz, slot.lpHz, slot.attackMs, slot.releaseMs, slot.makeupDb};
    };
    using Five = std::array<float, 5>;
    own.load(chunkFile("full"));
    own.followRegistry(), own.followRegistry();
    peer.block();
    const auto slot = peer.slot();
    EXPECT_TRUE(slot.bandsSeq == 2 && slot.hpLpSeq == 2 && slot.controlsSeq == 2) << "once";
    ASSERT_EQ(slot.bandCount, 3);
    EXPECT_EQ(slot.bands[2], (TDBand{3000, 12000, -33.5, 3.5, true, {}}));
    EXPECT_FALSE(slot.bands[1].enabled);
    EXPECT_EQ(filtersAndControls(), (Five{35, 16000, 7.5, 75, 3.25}));
    EXPECT_EQ(peer.value(HP), 35.0) << "the peer takes it";

    own.plug.EditPeer({.bands = deep(1)});
    for (const auto& [param, value] :
         {std::pair{HP, 100}, {LP, 9900}, {Attack, 44}, {Release, 66}, {Makeup, 3}})
        own.plug.EditPeer(turn(param, value));
    EXPECT_EQ(filtersAndControls(), (Five{100, 9900, 44, 66, 3})) << "each alone";
    peer.block();
    shm::BandSet bands = deep(1);
    bands[0].threshDb = -50;
    peer.plug.EditOwn(turn(LP, 9000, bands));
    peer.automate(Release, 77);
    peer.block();
    const Bytes saved = own.saved();
    EXPECT_EQ(get<float>(saved, 187), -50);
    EXPECT_EQ(get<Five>(saved, 214), (Five{100, 9000, 44, 77, 3}));
}

TEST(Reopening, TheHostLearnsWhatAProjectHasToKeep) {
    Player own(0), peer(1);
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"nothing", [] {}},
        {"renaming", [&] { own.plug.SetInstanceName("Kick"); }},
        {"pairing", [&] { own.plug.PairWith(peer.info()); }},
        {"an edit of the peer", [&] { own.plug.EditPeer(turn(HP, 50)); }},
        {"duck", [&] { own.plug.ToggleOwnDuck(); }},
        {"the peer's edge",
         [&] {
             shm::BandSet set = own.plug.Own().Now().bands;
             set[0].loHz = 30;
             own.monitor.WriteBandsOf(own.id, set.bands.data(), 1), own.block();
         }},
        {"the peer's edit", [&] { peer.plug.EditPeer(turn(Makeup, 2)), own.block(); }},
        {"the peer's duck", [&] { peer.plug.TogglePeerDuck(), own.block(); }},
        {"its new name", [&] { peer.plug.SetInstanceName("Bass"); }},
    };
    auto& calls = own.callbacks.calls();
    for (const auto& [what, happens] : cases) {
        own.followRegistry();
        own.instance.pumpMainThread();
        calls.clear();
        happens();
        own.followRegistry();
        own.instance.pumpMainThread();
        EXPECT_EQ(calls.count(Callback::StateMarkDirty), what == cases[0].first ? 0U : 1U) << what;
    }
}

TEST(Silence, OfADeactivatedPartnerLastsUntilItsNextFrame) {
    Duet duet;
    auto& [own, peer] = duet;
    for (const double rate : {48000.0, 96000.0})
        for (const bool busy : {false, true}) {
            duet.play(12);
            ASSERT_TRUE(peer.isHeard() && own.ducking() < -15);
            {
                const auto held = busy ? std::make_unique<raw::HeldLock>() : nullptr;
                peer.instance.deactivate();
            }
            EXPECT_EQ(peer.isHeard(), busy);
            EXPECT_TRUE(peer.instance.activate(rate, 1, Plugged::kFrames));
            EXPECT_TRUE(!peer.isHeard() && peer.slot().state[1] == 0) << "of the old scale";
            peer.play(3);
            EXPECT_FALSE(peer.isHeard()) << "no frame yet";
            own.play(60 * kFrame);
            EXPECT_GT(own.ducking(), -0.5);
        }
}

/// What neither blocks nor editors are there for, all in one go: the beats are 3 s apart.
TEST(Silence, TheHeartbeatSeesToTheDeadTheStillAndTheRemembered) {
    Player own(0, "Kick"), still(1), late(2);
    own.load(withPeerName(own.saved(), "Late"));
    TessellaDuckworkSHM dead;
    ASSERT_TRUE(dead.Open());
    raw::Segment segment;
    segment.Put(raw::Slot(3) + raw::kHeartbeat, shm::Now() - 12);
    still.play(2 * kFrame);
    late.plug.SetInstanceName("Late");
    late.instance.pumpMainThread();
    late.callbacks.calls().clear();
    late.monitor.WriteHpLpOf(late.id, 90, 9000);
    late.play(1);
    own.automate(ThreshLow, -33);
    late.plug.SetParam(LP, 9500);
    late.instance.stopProcessing(); // before anybody has collected that
    const auto soon = [&](const std::function<bool()>& happens, std::chrono::seconds atMost) {
        return support::eventually([&] { return own.play(1), happens(); }, atMost);
    };
    EXPECT_TRUE(soon([&] { return own.slot().remoteId == late.id; }, 5s));
    const auto isMarked = [&] {
        late.instance.pumpMainThread();
        return late.callbacks.calls().count(Callback::StateMarkDirty) > 0;
    };
    EXPECT_TRUE(soon(isMarked, 2s));
    const auto marks = late.callbacks.calls().records(Callback::StateMarkDirty);
    EXPECT_TRUE(marks.size() == 1 && marks[0].fromMain);
    EXPECT_TRUE(soon([&] { return std::abs(own.slot().bands[0].threshDb + 33) < 1e-3; }, 5s));
    EXPECT_TRUE(late.callbacks.calls().count(Callback::ParamsRequestFlush) > 0);
    EXPECT_EQ(segment.Get<std::uint8_t>(raw::Slot(3) + raw::kActive), 0);
    EXPECT_TRUE(still.isHeard()) << "one beat without a block is none";
    EXPECT_TRUE(soon([&] { return !still.isHeard(); }, 10s));
    EXPECT_TRUE(own.isHeard()) << "its blocks go on";
    still.play(kFrame);
    EXPECT_TRUE(still.isHeard());
}

/// g: a good block, b: the registry is busy, m: only at its begin, u: unpaired. The last one runs a
/// frame.
TEST(Block, GoesOnForOneBusyBlockWithTheSpectrumThatItHolds) {
    const std::pair<std::string, bool> cases[] = {
        {"gg", true},   {"gb", true},    {"gbb", false}, {"gbbb", false}, {"gbg", true},
        {"gbgb", true}, {"gbbgb", true}, {"ub", false},  {"gu", false},   {"gbgbb", false},
        {"gmb", true},  {"gmmmm", true}, {"gbmb", true}, {"gbm", false},  {"gmbb", false}};
    for (const auto& [blocks, heard] : cases) {
        SCOPED_TRACE(blocks);
        Duet duet;
        auto& [own, peer] = duet;
        own.plug.OpenWindow(&own);
        duet.play(20);
        own.play(kFrame - int(blocks.size()));
        const float before = own.ducking();
        for (const char kind : blocks) {
            peer.play(1);
            kind == 'u' ? own.monitor.Unpair(own.id) : own.monitor.Pair(own.id, peer.id);
            auto held = kind == 'b' || kind == 'm' ? std::make_unique<raw::HeldLock>() : nullptr;
            if (kind == 'm')
                NoEditor::sOnMeters = [&held] { held.reset(); };
            own.play(1);
            NoEditor::sOnMeters = {};
        }
        EXPECT_TRUE(heard ? std::abs(own.ducking() - before) < 0.1 : own.ducking() > before + 1);
        EXPECT_EQ(NoEditor::tPeerLevel != dsp::BandLevels{}, heard);
    }
}

TEST(Block, DucksAndShowsWhatItTakesAwayUnlessItIsSwitchedOff) {
    const std::tuple<const char*, void (*)(Player&, bool), bool> switches[] = {
        {"own edit of the band", [](Player& p, bool on) { p.plug.EditOwn({.bands = deep(3, on)}); },
         true},
        {"peer's edit of the band",
         [](Player& p, bool on) { p.monitor.WriteBandsOf(p.id, deep(3, on).bands.data(), 3); },
         true},
        {"duck", [](Player& p, bool /*on*/) { p.plug.ToggleOwnDuck(); }, true},
        {"bypass", [](Player& p, bool on) { p.monitor.SetBypassOf(p.id, !on); }, false}};
    for (const auto& [what, change, heardWhenOff] : switches) {
        Duet duet(3);
        Player& own = duet.own;
        own.plug.OpenWindow(&own);
        for (const bool on : {false, true}) {
            SCOPED_TRACE(what);
            own.play(3 * kFrame);
            change(own, on);
            duet.play(8);
            const auto shown = std::to_array(own.slot().gainReduction);
            EXPECT_EQ(shown, NoEditor::tReductionDb);
            EXPECT_EQ(shown[1], own.ducking());
            EXPECT_TRUE(on ? shown[1] < -15 : shown[1] == 0) << shown[1];
            EXPECT_EQ(own.isHeard(), on || heardWhenOff);
        }
    }
}

TEST(Block, AfterAResetHasNoOldSoundButAllSettings) {
    Duet duet;
    Player& own = duet.own;
    own.automate(Makeup, 6);
    duet.play(20);
    own.instance.reset();
    own.play(2 * kFrame);
    EXPECT_LT(own.ducking(), -15) << "the peer's last spectrum stands, and is read anew";
    own.monitor.Unpair(own.id);
    own.instance.reset();
    std::vector<float> shown(512, 1.0F);
    own.plug.ReadSpectrum(shown);
    EXPECT_EQ(shown, std::vector<float>(512));
    own.audio.input().fill(0.25);
    for (int at = 0; at < 4096; at += int(Plugged::kFrames)) {
        own.block();
        const double expected = at < 2048 ? 0 : 0.25 * std::pow(10, 6 / 20.0);
        for (std::uint32_t i = 0; i < Plugged::kFrames; ++i)
            ASSERT_NEAR(own.audio.output().get(0, i), expected, expected * 1e-4) << at;
    }
}

TEST(Host, SeesAnInstanceWithoutASlotTakeTheNextOneWithAllItsSettings) {
    std::array<TessellaDuckworkSHM, 16> others;
    for (auto& other : others)
        ASSERT_TRUE(other.Open());
    Plugged p(5);
    p.plug.ToggleOwnDuck();
    p.plug.SetInstanceName("late");
    p.automate(HP, 120);
    p.automate(Attack, 33);
    p.start();
    p.block();
    EXPECT_FALSE(p.plug.Registry().Opened());
    others[5].Close();
    EXPECT_TRUE(eventually([&] { return p.plug.Registry().Opened(); })) << "with a heartbeat";
    p.block();
    const auto slot = p.slot();
    EXPECT_EQ(slot.id, p.plug.Registry().MyId());
    EXPECT_STREQ(slot.name, "late");
    EXPECT_TRUE(slot.bandCount == 1 && slot.bands[0].ratio == 4 && slot.latencySamples == 1024 &&
                slot.hpHz == 120 && slot.attackMs == 33 && !slot.duckSelf && p.value(Attack) == 33)
        << "nothing of an empty slot is taken over";
}

} // namespace
