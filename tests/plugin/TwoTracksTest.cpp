// Two tracks that edit each other: whatever both hosts, editors and states do, each side's project
// keeps what both are set to, and opens again as it was left.
#include "tests/support/Plugged.h"
#include "tests/support/RawSegment.h"
#include "tests/support/Test.h"

#include <rapidcheck.h>

namespace {

enum Act : int { EditOwn, EditPeer, Automate, Block, Frame, Save, Load, Restart, kActs };
constexpr const char* kNames[] = {"EditOwn", "EditPeer", "Automate", "Block",
                                  "Frame",   "Save",     "Load",     "Restart"};

struct Step {
    int who, act, which, amount;

    /// Of bands, a filter or a knob.
    [[nodiscard]] shm::SettingsEdit edit() const {
        constexpr float kEdges[] = {20, 100, 4000, 16000};
        const float change = float(amount);
        shm::SettingsEdit edit;
        if (which < 2)
            edit.filters[std::size_t(which)] = which == 0 ? 30 + change : 9000 + change;
        else if (which < 5)
            edit.controls[std::size_t(which - 2)] = 7 + change;
        else
            edit.bands = {.bands = {}, .count = 1 + which % 3};
        for (int i = 0; edit.bands && i < edit.bands->count; ++i)
            (*edit.bands)[i] = {kEdges[i] + change, kEdges[i + 1] + change, -3 * change - float(i),
                                1 + change, (amount >> i & 1) == 0};
        return edit;
    }
};

std::ostream& operator<<(std::ostream& to, const Step& s) {
    return to << s.who << ':' << kNames[s.act] << ' ' << s.which << ' ' << s.amount;
}

class Pair {
public:
    Pair() : states{tracks[0].saved(), tracks[1].saved()} {
        tracks[0].start(), tracks[1].start();
        tracks[0].plug.PairWith(tracks[1].info());
        frames();
    }
    /// A project of two states.
    explicit Pair(const std::array<Bytes, 2>& project) : states(project) {
        for (std::size_t i : {0U, 1U})
            RC_ASSERT(host::loadState(tracks[i].instance, project[i]));
        frames();
    }

    void step(const Step& s) {
        Plugged& track = tracks[std::size_t(s.who)];
        const auto& row = kParamTable[std::size_t(s.which)];
        switch (s.act) {
        case EditOwn:
            return track.plug.EditOwn(s.edit());
        case EditPeer:
            return track.plug.EditPeer(s.edit());
        case Automate:
            track.automate(s.which, row.min + (row.max - row.min) * s.amount / 16);
            return pass(track);
        case Block:
            return pass(track);
        case Frame:
            return void(track.followRegistry());
        case Save:
            return void(states[std::size_t(s.who)] = track.saved());
        case Load:
            return RC_ASSERT(host::loadState(track.instance, states[std::size_t(s.who)]));
        default:
            track.instance.isActive() ? track.instance.deactivate() : track.start();
        }
    }
    /// Saved after all have looked: what each has of the other is what that has itself.
    std::array<Bytes, 2> project() {
        frames();
        (void)tracks[1].saved(); // publishes what its host has set, as a heartbeat does
        states = {tracks[0].saved(), tracks[1].saved()};
        for (std::size_t i : {0U, 1U}) {
            iplug::IByteChunk chunk;
            chunk.PutBytes(states[i].data(), states[i].size());
            const state::Peer peer = state::read(chunk, 0).record.peer;
            Plugged& other = tracks[1 - i];
            RC_ASSERT(tracks[i].plug.Registry().RemoteId() == other.id);
            RC_ASSERT(peer.name == other.plug.Own().InstanceName());
            RC_ASSERT(peer.settings.bands.count == 0 ||
                      (peer.settings.bands == other.plug.Own().PublishableBands() &&
                       peer.settings.filters == other.plug.Own().Now().filters &&
                       peer.settings.controls == other.plug.Own().Now().controls));
        }
        return states;
    }

private:
    static void pass(Plugged& track) { track.instance.isActive() ? track.block() : track.flush(); }
    void frames() {
        for (const std::size_t i : {0U, 1U, 0U, 1U})
            pass(tracks[i]), tracks[i].followRegistry();
    }

    std::array<Plugged, 2> tracks{Plugged{0}, Plugged{1}};
    std::array<Bytes, 2> states; ///< as each host last saved or opened it
};

TEST(TwoTracks, KeepWhatTheyAreSetToAndOpenAsTheyWereLeft) {
    setenv("RC_PARAMS", "seed=1 max_success=500 max_size=40", 0);
    const auto below = [](int n) { return rc::gen::resize(100, rc::gen::inRange(0, n)); };
    const auto anyStep = rc::gen::build<Step>(
        rc::gen::set(&Step::who, below(2)), rc::gen::set(&Step::act, below(kActs)),
        rc::gen::set(&Step::which, below(kNumParams)), rc::gen::set(&Step::amount, below(17)));
    EXPECT_TRUE(rc::check([&] {
        const auto steps = *rc::gen::container<std::vector<Step>>(anyStep);
        const auto left = [&] {
            raw::Remove();
            Pair pair;
            for (const Step& step : steps)
                pair.step(step);
            return pair.project();
        }();
        raw::Remove();
        RC_ASSERT(Pair(left).project() == left);
    }));
}

} // namespace
