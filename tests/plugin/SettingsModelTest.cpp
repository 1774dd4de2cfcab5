// One track's settings: whatever host, editor, peer, state and a broken lock do to them, in any
// order, host, registry and saved state come to have what a small model says. A sequence that fails
// is shrunk and printed; RC_PARAMS="seed=2 max_success=100000" tries others.
#include "tests/support/Plugged.h"
#include "tests/support/Test.h"

#include <dlfcn.h>
#include <rapidcheck.h>

static const auto sMainThread = std::this_thread::get_id();
static std::atomic<int> sTriesOfOthers = 0; ///< for the lock

#ifdef TD_SANITIZED // they replace it, too
constexpr auto kBeatAtMost = 30ms;
constexpr const char* kSearch = "seed=1 max_success=100 max_size=40";
#else
constexpr auto kBeatAtMost = 20s;
constexpr const char* kSearch = "seed=1 max_success=1500 max_size=40";
extern "C" __attribute__((visibility("default"))) int pthread_mutex_trylock(pthread_mutex_t* m) {
    static const auto original =
        reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_trylock"));
    const int result = original(m);
    sTriesOfOthers += std::this_thread::get_id() != sMainThread; // after it: then all is locked
    return result;
}
#endif

namespace {

// clang-format off
enum Act : int { Automate, Turn, EditBands, EditFilter, EditControl, OpenEditor, Frame, SetDuck, Rename,
                 PeerBands, PeerFilters, PeerControls, PeerDuck, Load, Save, Restart, BreakLock, MendLock, kActs };
constexpr const char* kNames[] = {"Automate", "Turn", "EditBands", "EditFilter", "EditControl", "OpenEditor",
    "Frame", "SetDuck", "Rename", "PeerBands", "PeerFilters", "PeerControls", "PeerDuck", "Load", "Save", "Restart",
    "BreakLock", "MendLock"};
// clang-format on

struct Step {
    int act, which, amount;
    /// A value of the parameter, of those that both a float and a host hold exactly enough.
    [[nodiscard]] double valueFor(int param) const {
        const auto& row = kParamTable[std::size_t(param)];
        return std::clamp(row.min + (row.max - row.min) * amount / 16, row.min, row.max);
    }
    template <class Group>
    [[nodiscard]] Group group(int firstParam) const {
        Group values;
        for (int i = 0; i < Group::kCount; ++i)
            values[i] = float(Step{act, which, (amount + 5 * i) % 17}.valueFor(firstParam + i));
        return values;
    }
    [[nodiscard]] shm::BandSet bands() const {
        constexpr float kEdges[] = {20, 100, 4000, 16000};
        shm::BandSet set{.bands = {}, .count = which % 4};
        for (int i = 0; i < set.count; ++i)
            set[i] = {kEdges[i] + float(amount), kEdges[i + 1] + float(amount),
                      float(-3 * amount - i), float(1 + amount + i), (amount >> i & 1) == 0};
        return set;
    }
};

std::ostream& operator<<(std::ostream& to, const Step& s) {
    return to << kNames[s.act] << ' ' << s.which << ' ' << s.amount;
}

bool isNear(double a, double b) { return std::abs(a - b) < 1e-3; }

/// The rules. A value is its last writer's. What the registry could not be given outlasts what it
/// holds; what it holds is taken by the next who looks, after the host's events of that moment.
struct Model {
    /// Whether the registry holds what nobody here has taken, and which members it still lacks.
    struct Group {
        bool news = false;
        unsigned lacks = 0;
    };

    std::array<double, kNumParams> params{};
    shm::BandSet kept{.bands = {}, .count = 1}; ///< edges and switches; the rest is parameters
    std::array<float, 3> hidden{};              ///< ratio of a band that the peer has switched off
    bool duck = true, slotDuck = true, lacksDuck = false, broken = false;
    std::string name, slotName;
    int latency = 1024, slotLatency = 1024; ///< constant once it is known
    shm::Settings slot;
    Group bands, filters, controls;
    unsigned foreign = 0; ///< changes of the bands by others

    void set(int param, double value) {
        const auto& row = kParamTable[std::size_t(param)];
        params[std::size_t(param)] =
            std::clamp(param == LinkSlot ? std::round(value) : value, row.min, row.max);
    }
    /// By the host or a hand on a knob.
    void turn(int param, double value) {
        set(param, value);
        if (param >= RatioLow && param <= RatioHigh)
            hidden[std::size_t(param - RatioLow)] = 0;
        if (param >= Attack && param <= Makeup)
            controls.lacks |= 1U << (param - Attack);
    }
    /// The last band stands for those that are not there.
    void setBands(const shm::BandSet& to, bool byPeer) {
        kept.count = to.count;
        set(FreqLow, to.count >= 2 ? to[0].hiHz : 20);
        set(FreqHigh, to.count >= 3 ? to[1].hiHz : 20000);
        for (int i = 0; i < 3; ++i) {
            const TDBand band = to[std::min(i, to.count - 1)];
            const bool hides = byPeer && !band.enabled;
            kept[i] = {i < to.count ? to[i].loHz : 0, i < to.count ? to[i].hiHz : 0, 0, 0,
                       band.enabled};
            set(ThreshLow + i, band.threshDb);
            set(RatioLow + i, hides ? 1 : band.ratio);
            hidden[std::size_t(i)] = hides ? band.ratio : 0;
        }
    }
    [[nodiscard]] shm::BandSet shown() const {
        shm::BandSet set = kept;
        for (int i = 0; i < 3; ++i) {
            const float ratio = hidden[std::size_t(i)];
            set[i].threshDb = float(params[std::size_t(ThreshLow + i)]);
            set[i].ratio = ratio != 0 ? ratio : float(params[std::size_t(RatioLow + i)]);
        }
        return set;
    }
    template <class Values>
    void take(Group& group, int first, const Values& values) {
        for (int i = 0; i < Values::kCount && group.news; ++i)
            if ((group.lacks >> i & 1) == 0)
                set(first + i, values[i]);
        group.news = false;
    }
    void takeDuck() { duck = lacksDuck ? duck : slotDuck; } // needs no lock
    void take() {
        if (broken)
            return;
        if (bands.news && bands.lacks == 0 && slot.bands.count > 0) {
            setBands(slot.bands, true);
            ++foreign;
            bands.news = false;
        }
        take(filters, HP, slot.filters);
        take(controls, Attack, slot.controls);
    }
    template <class Values>
    void publish(Group& group, int first, Values& values) {
        if (group.lacks == 0)
            return;
        take(group, first, values);
        values = this->values<Values>(first);
        group.lacks = 0;
    }
    template <class Values>
    [[nodiscard]] Values values(int first) const {
        Values values;
        for (int i = 0; i < Values::kCount; ++i)
            values[i] = float(params[std::size_t(first + i)]);
        return values;
    }
    void publish() {
        if (broken)
            return;
        slotDuck = lacksDuck ? duck : slotDuck;
        lacksDuck = false;
        slotName = name;
        slotLatency = latency;
        if (bands.lacks != 0) {
            slot.bands = shown();
            bands = {};
        }
        publish(filters, HP, slot.filters);
        publish(controls, Attack, slot.controls);
    }
    /// What the host has set of filters goes out here, of bands in flush only.
    void sync() {
        take(), takeDuck();
        filters.lacks |= !broken && slot.filters != values<shm::Filters>(HP) ? ~0U : 0;
        publish();
    }
    /// Sync, and a band that is off shows its own ratio.
    void flush() {
        sync();
        bands.lacks |= !broken && slot.bands != shown() ? ~0U : 0;
        publish();
        for (int i = 0; i < 3; ++i)
            if (const float ratio = std::exchange(hidden[std::size_t(i)], 0.0F); ratio != 0)
                set(RatioLow + i, ratio);
    }
    /// Deliberate: in a block that cannot read the values of others they stand at their defaults.
    void block() {
        if (broken && filters.news && filters.lacks == 0)
            set(HP, 20), set(LP, 20000);
        if (broken && controls.news && controls.lacks == 0)
            set(Attack, 10), set(Release, 100), set(Makeup, 0);
        take(), takeDuck(), publish();
    }
    void load(const Bytes& chunk) {
        for (int i = 0; i < kNumParams; ++i)
            set(i, paramIn(chunk, std::size_t(i)));
        const auto edges = get<std::array<float, 6>>(chunk, 68);
        kept.count = get<std::int32_t>(chunk, kCountAt);
        for (std::size_t i = 0; i < 3; ++i)
            kept.bands[i] = {edges[2 * i], edges[2 * i + 1], 0, 0, chunk[92 + i] != 0};
        hidden = {};
        duck = get<std::uint32_t>(chunk, kDuckAt) != 0;
        lacksDuck = true;
        name = reinterpret_cast<const char*>(chunk.data());
        bands.lacks = filters.lacks = controls.lacks = ~0U;
        bands.news = filters.news = controls.news = false;
        ++foreign;
        publish();
    }
};

/// The instance beside its model.
class Beside {
public:
    Beside() {
        // The first heartbeat would make the registry busy for a moment: it is over.
        (void)eventually([this] { return sTriesOfOthers != before; }, kBeatAtMost);
        { const raw::HeldLock hadByItNoMore; }
        good = segment.Get<pthread_mutex_t>(raw::kMutex);
        track.start();
        for (int i = 0; i < kNumParams; ++i)
            host[std::size_t(i)] = model.params[std::size_t(i)] = track.value(i);
        model.kept[0] = {};
        model.name = model.slotName = track.slot().name;
        model.slot.bands = model.shown();
    }
    ~Beside() { mend(); }

    void step(const Step& s) {
        act(s);
        compare();
    }
    /// All is well again and everybody has looked: all have the same.
    void end() {
        mend();
        pass(), pass();
        compare();
        RC_ASSERT(hostHas());
        const Bytes saved = track.saved();
        model.flush();
        RC_ASSERT((get<std::uint32_t>(saved, kDuckAt) != 0) == model.duck);
        RC_ASSERT(get<std::int32_t>(saved, kCountAt) == model.kept.count);
        for (std::size_t i = 0; i < kNumParams; ++i)
            RC_ASSERT(isNear(paramIn(saved, i), model.params[i]));
        compare();
        Plugged fresh(1);
        fresh.load(saved);
        RC_ASSERT(fresh.saved() == saved);
        RC_ASSERT(fresh.plug.Own().Now() == track.plug.Own().Now());
    }

private:
    void act(const Step& s) {
        const int param = s.which % kNumParams;
        switch (s.act) {
        case Automate:
            host[std::size_t(param)] = track.plug.GetParam(param).Constrain(s.valueFor(param));
            track.automate(param, s.valueFor(param));
            return pass(param, s.valueFor(param));
        case Turn:
            track.plug.SetParam(param, s.valueFor(param));
            model.turn(param, s.valueFor(param));
            return model.publish();
        case EditBands:
            return s.bands().count > 0 ? edit({.bands = s.bands()}) : void();
        case EditFilter:
            return editOne(&shm::SettingsEdit::filters, HP, s);
        case EditControl:
            return editOne(&shm::SettingsEdit::controls, Attack, s);
        case OpenEditor:
            if (s.amount % 2 == 0) {
                track.plug.OpenWindow(&track);
                return track.plug.CloseWindow(), model.flush();
            }
            track.plug.BeginEditing();
            model.flush();
            model.setBands(model.shown(), false);
            model.bands.lacks = ~0U;
            return model.publish();
        case Frame:
            track.followRegistry();
            return model.broken ? void() : model.sync();
        case Rename:
            model.name = "instance " + std::to_string(s.amount);
            track.plug.SetInstanceName(model.name.c_str());
            return model.publish();
        case SetDuck:
            track.plug.Own().SetDuckSelf(s.amount % 2 == 0);
            model.duck = s.amount % 2 == 0;
            model.lacksDuck = true;
            return model.publish();
        case Load: {
            const Bytes chunk = chunkFile(s.amount % 2 == 0 ? "before" : "full");
            RC_ASSERT(host::loadState(track.instance, chunk));
            model.load(chunk);
            host = model.params; // it is told to look
            return;
        }
        case Save:
            (void)track.saved();
            return model.flush();
        case Restart:
            if (track.instance.isActive())
                return track.instance.deactivate(), model.publish();
            track.start();
            model.flush();
            return model.publish();
        case BreakLock:
            if (!std::exchange(model.broken, true))
                std::memset(segment.Mutex(), 0x7F, sizeof good);
            return;
        case MendLock:
            return mend();
        default:
            return model.broken ? void() : peer(s);
        }
    }
    void edit(const shm::SettingsEdit& edit) {
        track.plug.EditOwn(edit);
        if (edit.bands) {
            model.setBands(*edit.bands, false);
            model.bands.lacks = ~0U;
        }
        model.publish();
    }
    template <std::size_t n>
    void editOne(std::array<std::optional<float>, n> shm::SettingsEdit::*group, int first,
                 const Step& s) {
        const int member = s.which % int(n);
        shm::SettingsEdit one;
        (one.*group)[std::size_t(member)] = float(s.valueFor(first + member));
        model.set(first + member, s.valueFor(first + member));
        (first == HP ? model.filters : model.controls).lacks |= 1U << member;
        edit(one);
    }
    void peer(const Step& s) {
        const auto& [monitor, id] = std::tie(track.monitor, track.id);
        if (s.act == PeerBands) {
            const shm::BandSet set = s.bands();
            monitor.WriteBandsOf(id, set.bands.data(), set.count);
            model.slot.bands = set;
            model.bands.news = true;
        } else if (s.act == PeerFilters) {
            model.slot.filters = s.group<shm::Filters>(HP);
            monitor.WriteHpLpOf(id, model.slot.filters.hpHz, model.slot.filters.lpHz);
            model.filters.news = true;
        } else if (s.act == PeerControls) {
            const auto& [attack, release, makeup] = model.slot.controls =
                s.group<shm::Controls>(Attack);
            monitor.WriteControlsOf(id, attack, release, makeup);
            model.controls.news = true;
        } else {
            monitor.SetDuckSelfOf(id, model.slotDuck = s.amount % 2 == 0);
        }
    }
    /// A block, or a flush of a host that plays none, perhaps with an event.
    void pass(int param = -1, double value = 0) {
        const bool plays = track.instance.isActive();
        if (!plays)
            model.flush();
        if (param >= 0)
            model.turn(param, value);
        track.instance.pumpMainThread();
        track.callbacks.calls().clear();
        mayLack = model.broken;
        plays ? track.block() : track.flush();
        plays ? model.block() : model.publish();
        for (std::uint32_t i = 0; i < track.sent.size(); ++i)
            if (const auto* event = track.sent.paramValueAt(i))
                host[event->param_id] =
                    track.plug.GetParam(int(event->param_id)).FromHost(event->value);
        // Nobody tells it of what stands in for unread values.
        RC_ASSERT(model.broken || hostHas());
    }
    void mend() {
        if (std::exchange(model.broken, false))
            segment.Put(raw::kMutex, good);
    }
    [[nodiscard]] bool hostHas() const {
        return std::equal(host.begin(), host.end(), model.params.begin(), isNear);
    }
    void compare() {
        if (!track.instance.isActive() && !mayLack && !hostHas()) {
            track.instance.pumpMainThread();
            RC_ASSERT(track.callbacks.calls().count(Callback::ParamsRequestFlush) > 0);
        }
        for (int i = 0; i < kNumParams; ++i)
            RC_ASSERT(isNear(track.value(i), model.params[std::size_t(i)]));
        for (std::size_t i = 0; i < 3; ++i)
            RC_ASSERT(track.plug.Own().IsBandOn(i) == model.kept.bands[i].enabled);
        RC_ASSERT(track.plug.Own().DuckSelf() == model.duck);
        RC_ASSERT(track.plug.Own().ForeignBandChanges() == model.foreign);
        const auto at = [&](std::size_t field) { return raw::Slot(0) + field; };
        RC_ASSERT(segment.Get<shm::Name>(at(raw::kName)).data() == model.slotName);
        RC_ASSERT(segment.Get<std::int32_t>(at(raw::kLatency)) == model.slotLatency);
        const auto bands = segment.Get<std::array<TDBand, 3>>(at(raw::kBands));
        RC_ASSERT(segment.Get<std::int32_t>(at(raw::kBandCount)) == model.slot.bands.count);
        for (std::size_t i = 0; i < std::size_t(model.slot.bands.count); ++i)
            RC_ASSERT(bands[i] == model.slot.bands.bands[i]);
        RC_ASSERT(segment.Get<float>(at(raw::kHp)) == model.slot.filters.hpHz);
        RC_ASSERT(segment.Get<float>(at(raw::kLp)) == model.slot.filters.lpHz);
        for (int i = 0; i < 3; ++i)
            RC_ASSERT(isNear(segment.Get<float>(at(raw::kControls) + 4 * std::size_t(i)),
                             model.slot.controls[i]));
        RC_ASSERT((segment.Get<std::uint8_t>(at(raw::kDuckSelf)) != 0) == model.slotDuck);
    }

    const int before = sTriesOfOthers;
    Plugged track;
    raw::Segment segment;
    pthread_mutex_t good{};
    Model model;
    bool mayLack = false;                  ///< the host, what it is not asked to collect
    std::array<double, kNumParams> host{}; ///< what it knows of the parameters
};

TEST(SettingsModel, SaysWhatAnySequenceLeaves) {
    setenv("RC_PARAMS", kSearch, 0);
    const auto below = [](int n) { return rc::gen::resize(100, rc::gen::inRange(0, n)); };
    const auto anyStep = rc::gen::build<Step>(rc::gen::set(&Step::act, below(kActs)),
                                              rc::gen::set(&Step::which, below(28)),
                                              rc::gen::set(&Step::amount, below(17)));
    EXPECT_TRUE(rc::check([&] {
        const auto steps = *rc::gen::container<std::vector<Step>>(anyStep);
        raw::Remove();
        Beside run;
        for (const Step& step : steps)
            run.step(step);
        run.end();
    }));
}

} // namespace
