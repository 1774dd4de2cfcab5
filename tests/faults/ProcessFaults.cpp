// Processes that are killed, stopped, started at the same instant, or find the lock busy.
#include "shm/TessellaDuckworkSHM.h"
#include "tests/faults/Studio.h"
#include "tests/support/Test.h"
#include "tests/support/Track.h"

#include <csignal>

namespace faults {
namespace {

constexpr float kZeros[1024] = {};

/// A stage of an instance's life, to be repeated without end.
using Stage = void (*)(TessellaDuckworkSHM& handle, std::uint64_t other);

constexpr Stage kStages[] = {
    [](TessellaDuckworkSHM& handle, std::uint64_t) { (void)handle.Open(); }, // closes first
    [](TessellaDuckworkSHM& handle, std::uint64_t) {
        const TDBand bands[3];
        handle.SetDisplayName("soon gone");
        handle.WriteBands(bands, 3);
        handle.WriteHpLp(20, 20000);
        handle.WriteControls(10, 100, 0);
        handle.WriteAudioCycle(kZeros, kZeros, kZeros, 1024, true);
    },
    [](TessellaDuckworkSHM& handle, std::uint64_t other) {
        handle.SetRemoteId(other);
        handle.WriteRemoteHpLp(20, 20000);
        handle.SetRemoteId(0);
    },
    [](TessellaDuckworkSHM& handle, std::uint64_t) {
        handle.CleanDead();
        handle.Touch();
        TessellaDuckworkSHM::ForceCleanIfStale(10);
    }};

constexpr Stage kCreating = [](TessellaDuckworkSHM& handle, std::uint64_t) {
    raw::Remove();
    (void)handle.Open();
};

/// Lets a process live for a random time of at most so many microseconds.
void killIn(Stage stage, std::uint64_t other, std::minstd_rand& random, unsigned most) {
    const pid_t child = spawn([=]() -> bool {
        for (TessellaDuckworkSHM handle;;)
            if (handle.Opened() || handle.Open() || stage == kCreating)
                stage(handle, other);
    });
    std::this_thread::sleep_for(std::chrono::microseconds(random() % most));
    destroy(child);
}

/// Kills a partner of the bass. What it published last ducks until it is swept, by a heartbeat of
/// the studio: nobody has an editor open, nobody comes. Returns how long, s.
double killPartner(const Studio& studio, bool full, Row& row) {
    TessellaDuckworkSHM other; // has the kick, or that would be the bass's partner again
    row.require(other.Open(), "no handle");
    other.SetRemoteId(studio.kick());
    const pid_t partner = spawn([&studio]() -> bool {
        constexpr std::array<float, 1024> kLoud = [] {
            std::array<float, 1024> bins{};
            bins.fill(1000.0F);
            return bins;
        }();
        TessellaDuckworkSHM handle;
        (void)handle.Open();
        handle.WriteAudioCycle(kZeros, kZeros, kLoud.data(), 1024, true);
        handle.SetRemoteId(studio.bass());
        return pause() == 0;
    });
    const auto isTaken = [&] { return support::activeSlot(studio.bass())->remoteId != 0; };
    row.require(eventually(isTaken), "nobody takes the bass");
    destroy(partner);
    row.require(studio.comesToDuck(), "the dead does not duck");
    if (!full)
        age(60, {studio.kick(), studio.bass(), other.MyId()});
    // A look takes a tenth of a second: 500 of them.
    const auto isSwept = [&] { return other.Touch(), !studio.isDucked(); };
    const Row swept = timed(
        [&] { row.require(eventually(isSwept, std::chrono::seconds(1)), "the dead ducks on"); });
    row.require(studio.pair() && studio.isBack(), "the living are not paired");
    return swept.worstWaitMs / 1000.0;
}

Row killBesideAStudio(bool full) {
    Row row{.rounds = full ? 3000 : 100};
    const Studio studio;
    std::minstd_rand random(20);
    int lost = 0;
    for (int round = 0; round < row.rounds && !row.failed(); ++round) {
        killIn(kStages[round % 4], studio.kick(), random, 6000);
        const bool isLost = lockIsLost();
        // The dead have been silent for long. So have the living, when nobody gets the lock.
        age(60, isLost ? std::vector<std::uint64_t>{} : std::vector{studio.kick(), studio.bass()});
        lost += isLost ? 1 : 0;
        row.add(newPair(round));
        row.require(eventually([&] { return studio.pair(); }), "the living are not listed");
        if (isLost || round % 100 == 99)
            row.require(studio.isBack(), "the living are not paired");
    }
    const int untilSwept = static_cast<int>(std::lround(killPartner(studio, full, row)));
    row.outcome = "a new pair forms after each; " + std::to_string(lost) +
                  " left the lock behind: all move to a new registry";
    row.lost = "ducking for 10 s where the lock was left behind; a killed partner's peer: ducking "
               "until swept, " +
               std::to_string(untilSwept) + " s";
    row.add(studio.report());
    return row;
}

Row killWhileCreating(bool full) {
    Row row{.rounds = full ? 1000 : 30};
    std::minstd_rand random(21);
    int waits = 0;
    for (int round = 0; round < row.rounds && !row.failed(); ++round) {
        killIn(kCreating, 0, random, 3000);
        const bool whole =
            access(raw::kPath, F_OK) == 0 && raw::Stat().st_size == off_t{raw::kBytes};
        if (whole && lockIsLost())
            age(60);
        const Row pair = newPair(round);
        waits += pair.worstWaitMs > 900 ? 1 : 0;
        row.add(pair);
    }
    row.outcome = "a new pair forms after each; " + std::to_string(waits) +
                  " waited 1 s for a registry left half-made";
    return row;
}

/// A registry of a build whose lock tells the next one that its holder has died.
void makeRobust() {
    raw::Make(raw::kBytes, 10, "GRDT", 1, std::time(nullptr));
    raw::Segment segment;
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    pthread_mutex_init(segment.Mutex(), &attributes);
}

Row killHolder(bool full) {
    Row row{.rounds = full ? 10 : 2};
    for (int round = 0; round < row.rounds && !row.failed(); ++round) {
        const bool robust = round % 2 != 0;
        raw::Remove();
        if (robust)
            makeRobust();
        const Studio studio;
        const ino_t before = raw::Stat().st_ino;
        (void)succeeded(spawn([] {
            raw::Segment segment;
            pthread_mutex_lock(segment.Mutex());
            return raise(SIGKILL) == 0;
        }));
        if (robust) {
            row.require(studio.comesToDuck() && raw::Stat().st_ino == before, "the lock is lost");
        } else {
            row.require(lockIsLost(), "the lock is free");
            // Nobody opens a registry meanwhile: those who are there help themselves.
            row.require(eventually([&] { return raw::Stat().st_ino != before; }) && studio.isBack(),
                        "the living are not paired in a new registry");
        }
        row.add(studio.report());
    }
    row.outcome = "after 10 s all move to a new registry by themselves; a robust lock goes on";
    row.lost = "ducking for 10 s; with a robust lock nothing";
    return row;
}

constexpr int kProcesses = 8;

/// What the processes of one crowd share.
struct Crowd {
    pthread_barrier_t all;
    std::atomic<int> alone;
    std::atomic<double> worstOpenMs;

    Crowd() {
        pthread_barrierattr_t attributes;
        pthread_barrierattr_init(&attributes);
        pthread_barrierattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
        pthread_barrier_init(&all, &attributes, kProcesses + 1);
    }
    void meet() { pthread_barrier_wait(&all); }
};

/// One of the crowd: opens with all others, then counts them.
bool takePart(Crowd& crowd, int rounds) {
    TessellaDuckworkSHM handle;
    std::vector<TDInstanceInfo> others;
    for (int round = 0; round < rounds; ++round) {
        crowd.meet();
        const Row open = timed([&] { (void)handle.Open(); });
        crowd.worstOpenMs = std::max<double>(crowd.worstOpenMs, open.worstWaitMs);
        crowd.meet();
        if (!handle.GetActiveInstances(others) || others.size() != kProcesses - 1)
            ++crowd.alone;
        crowd.meet();
        handle.Close();
        crowd.meet();
    }
    return true;
}

Row startTogether(bool full) {
    Row row{.rounds = full ? 6000 : 600};
    auto& crowd = *new (mmap(nullptr, sizeof(Crowd), PROT_READ | PROT_WRITE,
                             MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Crowd;
    std::array<pid_t, kProcesses> children{};
    for (pid_t& child : children)
        child = spawn([&] { return takePart(crowd, row.rounds); });
    for (int round = 0; round < row.rounds; ++round) {
        if (round % 4 == 0)
            raw::Remove();
        else if (round % 4 < 3) // else as the round before has left it
            raw::Make(round % 4 == 1 ? raw::kBytes : 100, 10, "GRDT", 1, 1000);
        for (int meeting = 0; meeting < 4; ++meeting) // opened, looked, closed
            crowd.meet();
    }
    for (const pid_t child : children)
        row.require(succeeded(child), "a process has failed");
    row.require(crowd.alone == 0,
                std::to_string(crowd.alone) + " instances did not see all the others");
    row.worstWaitMs = crowd.worstOpenMs;
    row.outcome = "all eight in one registry, in every round";
    return row;
}

/// Stops the studio, which lies in slots 0 and 1, gives those to newcomers, and wakes it again. The
/// other slots but one are those of the dead.
Row stopAndTake(bool full) {
    Row row{.rounds = full ? 3 : 1};
    for (int round = 0; round < row.rounds && !row.failed(); ++round) {
        raw::Remove();
        const Studio studio;
        TessellaDuckworkSHM keeper; // without somebody alive the whole registry would be replaced
        std::array<TessellaDuckworkSHM, 2> newcomers;
        row.require(keeper.Open(), "no keeper");
        (void)succeeded(spawn([] {
            std::array<TessellaDuckworkSHM, 13> dead;
            return std::ranges::all_of(dead, &TessellaDuckworkSHM::Open) && raise(SIGKILL) == 0;
        }));
        row.require(support::activeSlots().size() == 16, "there is room");
        kill(studio.process(), SIGSTOP);
        row.require(!lockIsLost(), "stopped with the lock in its hand, once in thousands of times");
        for (int second = 0; full && second < 15; ++second, keeper.Touch())
            std::this_thread::sleep_for(std::chrono::seconds(1));
        if (!full)
            age(60, {keeper.MyId()});
        for (TessellaDuckworkSHM& newcomer : newcomers)
            row.require(newcomer.Open(), "no newcomer");
        const raw::Segment segment;
        const std::string taken(segment.base + raw::Slot(0), segment.base + raw::Slot(2));
        kill(studio.process(), SIGCONT);
        row.require(studio.isBack(), "the woken are not paired");
        row.require(taken == std::string(segment.base + raw::Slot(0), taken.size()),
                    "the woken have written into foreign slots");
        row.add(studio.report());
    }
    row.outcome = "newcomers sweep and take slots; woken, it claims others and leaves those alone";
    row.lost = "ducking while it stands, and until the next heartbeat";
    return row;
}

/// By ageing all that bears a time. The studio stands still meanwhile, so that nobody is quicker
/// than the sweeps.
Row stepClockByAnHour(bool full) {
    Row row{.rounds = full ? 40 : 4};
    const Studio studio;
    int replaced = 0;
    for (int round = 0; round < row.rounds && !row.failed(); ++round) {
        const ino_t before = raw::Stat().st_ino;
        kill(studio.process(), SIGSTOP);
        age(round % 4 < 2 ? 3600 : -3600); // all that compares times sees them apart
        TessellaDuckworkSHM newcomer;
        if (round % 2 == 0)
            row.add(timed([&] { row.require(newcomer.Open(), "no newcomer"); }));
        newcomer.CleanDead();
        kill(studio.process(), SIGCONT);
        row.require(studio.isBack(), "the living are not paired in round " + std::to_string(round));
        replaced += raw::Stat().st_ino != before ? 1 : 0;
    }
    row.outcome = "all paired after the next heartbeat, " + std::to_string(replaced) +
                  " times in a new registry";
    row.lost = "ducking until the next heartbeat where replaced";
    row.add(studio.report());
    return row;
}

/// Loads a state and starts processing while the lock is busy for longer than anybody waits.
Row loadWhileBusy(bool full) {
    Row row{.rounds = full ? 20 : 2};
    // Not by the clock: the machine may be busy. One that waits tries 51 times; no other does.
    const auto judge = [&](const std::function<void()>& call) {
        const int before = lockTries();
        row.add(timed(call));
        row.require(lockTries() - before < 2 * 51, "waited for more than one patient lock");
    };
    for (int round = 0; round < row.rounds && !row.failed(); ++round) {
        support::Track track;
        track.start(48000.0);
        {
            const raw::HeldLock busy;
            judge([&] {
                row.require(host::loadState(track.instance, support::chunkFile("before")),
                            "the state is refused");
            });
            judge([&] { (void)host::saveState(track.instance); });
            judge([&] { track.start(48000.0); });
        }
        // A heartbeat must get through now and then, or the registry counts as dead.
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
    }
    row.outcome = "each of it with at most one wait, of half a second";
    return row;
}

} // namespace

Faults processFaults() {
    return {
        {"kill-beside-pair",
         "kill -9 at a random moment of opening, closing, publishing, pairing, sweeping; of a "
         "partner",
         killBesideAStudio},
        {"kill-creating", "kill -9 at a random moment of creating and initialising",
         killWhileCreating},
        {"kill-lock-holder",
         "kill -9 of a process that holds the lock, also a robust one of another build",
         killHolder},
        {"start-together",
         "8 processes open at one instant; there is nothing, a dead registry, a short file, a "
         "released one",
         startTogether},
        {"stopped-for-15-s",
         "SIGSTOP of a host for 15 s, beside it one living and 13 dead slots, newcomers, SIGCONT",
         stopAndTake},
        {"clock-stepped", "wall clock stepped by an hour, forwards and backwards",
         stepClockByAnHour},
        {"state-load-while-busy",
         "lock held while a state is loaded and saved and processing started", loadWhileBusy}};
}

} // namespace faults
