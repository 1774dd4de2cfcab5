// What becomes of the object under the registry's name, of /dev/shm, and what other users put
// there.
#include "shm/TessellaDuckworkSHM.h"
#include "tests/faults/Studio.h"
#include "tests/support/Test.h"
#include "tests/support/Track.h"

#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/wait.h>

namespace faults {
namespace {

struct stat lookAt() {
    struct stat status {};
    lstat(raw::kPath, &status);
    return status;
}

/// Afterwards the pair stands in the registry that newcomers find, or goes on in its own.
enum class Goes { Back, On };

struct Change {
    const char* name;
    const char* injected;
    Goes goes;
    void (*inject)();
};

void cutTo(off_t size) { (void)!truncate(raw::kPath, size); }
void overwrite(std::size_t from, std::size_t size) {
    std::memset(raw::Segment().base + from, 0xFF, size);
}
void put(std::size_t bytes, std::uint32_t version, int age) {
    raw::Make(bytes, version, "GRDT", 1, std::time(nullptr) - age);
}

// clang-format off
const Change kChanges[] = {
    {"removed", "the object's name is removed", Goes::Back, raw::Remove},
    {"truncated", "the object is cut to 0 bytes", Goes::Back, [] { cutTo(0); }},
    {"cut-in-the-middle", "the object is cut to one page", Goes::Back, [] { cutTo(4096); }},
    {"emptied", "the object is cut and extended: all zero", Goes::Back, [] { cutTo(0); cutTo(off_t{raw::kBytes}); }},
    {"overwritten", "all bytes become 0xFF", Goes::Back, [] { overwrite(0, raw::kBytes); }},
    {"lock-overwritten", "the lock's bytes become 0xFF", Goes::Back, [] { overwrite(raw::kMutex, 40); age(60); }},
    {"replaced-by-dead", "another, dead registry under the name", Goes::Back, [] { put(raw::kBytes, 10, 99); }},
    {"replaced-by-live", "another, live registry under the name", Goes::Back, [] { put(raw::kBytes, 10, -99); }},
    {"replaced-by-version-11", "one of another version", Goes::On, [] { put(raw::kBytes, 11, -99); }},
    {"replaced-by-longer", "one of another size", Goes::On, [] { put(raw::kBytes + 4096, 10, -99); }},
    {"replaced-by-directory", "a directory under the name", Goes::On, [] { raw::Remove(); mkdir(raw::kPath, 0755); }},
    {"replaced-by-pipe", "a pipe under the name", Goes::On, [] { raw::Remove(); mkfifo(raw::kPath, 0644); }},
    {"replaced-by-link", "a link under the name", Goes::On, [] { raw::Remove(); (void)!symlink("/dev/shm/else", raw::kPath); }},
};
// clang-format on

Row change(const Change& what, bool full) {
    const bool back = what.goes == Goes::Back;
    Row row{.rounds = full ? 20 : 1};
    for (int round = 0; round < row.rounds && !row.failed(); ++round) {
        const Studio studio;
        std::this_thread::sleep_for(std::chrono::microseconds(1700 * round % 4000));
        what.inject();
        const ino_t placed = lookAt().st_ino;
        // What has to prove for 10 s that nobody is making it need not take so long here.
        raw::Age(back ? 60 : 0);
        if (!back)
            std::this_thread::sleep_for(std::chrono::milliseconds(500)); // three heartbeats
        row.require(back ? studio.isBack() : studio.comesToDuck(), "the pair has come apart");
        row.require(back || lookAt().st_ino == placed, "what was put there has been touched");
        row.add(studio.report());
        // Newcomers are never held up, whether they get in or not.
        TessellaDuckworkSHM newcomer;
        row.add(timed([&] { (void)newcomer.Open(); }));
        row.require(row.worstWaitMs < 1500, "a newcomer was held up");
        newcomer.Close();
        (void)std::remove(raw::kPath); // a directory too
    }
    row.outcome = back ? "all move to a usable registry and pair there"
                       : "left alone; the pair goes on in its own registry";
    row.lost = back ? "ducking until the next heartbeat" : "nothing";
    return row;
}

/// Cuts and extends at a rate that hits accesses of every kind, while newcomers come and go.
Row truncateStorm(bool full) {
    Row row{.rounds = full ? 60000 : 3000};
    const Studio studio;
    const pid_t newcomers = spawn([]() -> bool {
        for (TessellaDuckworkSHM handle;;)
            if (handle.Open())
                handle.WriteHpLp(20, 20000);
    });
    for (int round = 0; round < row.rounds; ++round) {
        cutTo(round % 3 == 0 ? 0 : 4096);
        std::this_thread::sleep_for(std::chrono::microseconds(100));
        cutTo(round % 2 == 0 ? off_t{raw::kBytes} : 4096);
    }
    row.require(waitpid(newcomers, nullptr, WNOHANG) == 0, "a newcomer has died");
    destroy(newcomers);
    raw::Remove();
    row.require(studio.isBack(), "the pair is not back");
    row.add(studio.report());
    row.outcome = "nobody dies; afterwards all pair in a new registry";
    row.lost = "ducking while it lasts";
    return row;
}

bool mountOn(const char* where, unsigned long flags, const char* options) {
    return mount("tmpfs", where, "tmpfs", flags, options) == 0;
}

struct Trouble {
    const char* name;
    const char* injected;
    bool (*begin)();
    bool (*end)(); ///< afterwards a registry can be made again
};

// clang-format off
constexpr Trouble kTroubles[] = {
    {"dev-shm-full", "/dev/shm without room for the object",
     [] { return mountOn("/dev/shm", 0, "size=40k"); },
     [] { return mountOn("/dev/shm", MS_REMOUNT, "size=4m"); }},
    {"dev-shm-read-only", "/dev/shm mounted read-only",
     [] { return mountOn("/dev/shm", MS_RDONLY, nullptr); },
     [] { return mountOn("/dev/shm", MS_REMOUNT, nullptr); }},
    {"dev-shm-missing", "no /dev/shm",
     [] { return mountOn("/dev", 0, nullptr); },
     [] { return mkdir("/dev/shm", 01777) == 0; }},
};
// clang-format on

/// Each round in a mount namespace of its own, inside the last one's.
void inTrouble(const Trouble& trouble, Row& row) {
    row.require(unshare(CLONE_NEWNS) == 0 && mountOn("/dev/shm", 0, nullptr), "no namespace");
    {
        const Studio before;
        row.require(trouble.begin(), "cannot be injected");
        row.require(before.comesToDuck(), "the pair has come apart");
        row.add(before.report());
    }
    TessellaDuckworkSHM handle;
    row.add(timed([&] { row.require(!handle.Open(), "opened, against all odds"); }));
    row.require(!handle.Opened() && handle.MyId() == 0, "no clear state");
    row.require(access(raw::kPath, F_OK) != 0, "something is left behind");
    const Studio alone(false);
    row.require(alone.kick() == 0 && !alone.isDucked(), "paired, against all odds");
    row.add(alone.report());
    row.require(row.worstWaitMs < 100, "waited for what cannot be had");
    row.require(trouble.end() && handle.OpenLater() &&
                    eventually([] { return support::activeSlots().size() == 3; }),
                "no registry when all is well again");
}

constexpr uid_t kStranger = 65534;
constexpr uid_t kUser = 1000;
constexpr const char* kNotRun = "NOT RUN: needs root, to become other users";

/// This process acts for another user while it lives.
struct As {
    explicit As(uid_t user) : done(seteuid(user) == 0) {}
    ~As() { (void)!seteuid(0); }
    As(const As&) = delete;
    As& operator=(const As&) = delete;
    const bool done;
};

void file(std::size_t bytes, mode_t mode, const char* magic) {
    raw::Make(bytes, 10, magic, 1, std::time(nullptr) + 1000);
    chmod(raw::kPath, mode);
}

Row trouble(const Trouble& what, bool full) {
    Row row{.rounds = full ? 10 : 1};
    for (int round = 0; round < row.rounds && !row.failed(); ++round)
        inTrouble(what, row);
    row.outcome = "newcomers play unpaired at once, leave nothing behind and join later; a running "
                  "pair goes on";
    row.lost = "pairing of newcomers";
    return row;
}

struct Squat {
    const char* what;
    void (*make)();
};

// clang-format off
constexpr Squat kSquats[] = {
    {"a pipe", [] { mkfifo(raw::kPath, 0666); chmod(raw::kPath, 0666); }},
    {"a short file", [] { file(100, 0644, ""); }},
    {"an empty file", [] { file(0, 0666, ""); }},
    {"a live registry", [] { file(raw::kBytes, 0644, "GRDT"); }},
    {"one open to everybody", [] { file(raw::kBytes, 0666, "GRDT"); }},
    {"one that nobody may read", [] { file(raw::kBytes, 0, "GRDT"); }},
    {"one never ready", [] { file(raw::kBytes, 0666, "GRD?"); }},
    {"a directory", [] { mkdir(raw::kPath, 0777); }},
    {"a link", [] { (void)!symlink("/dev/shm/mine", raw::kPath); }},
};
// clang-format on

/// What a user finds: no registry, at once, and nothing changed; a host that plays all the same.
void openSquatted(Row& row, bool withStudio) {
    const struct stat before = lookAt();
    TessellaDuckworkSHM handle;
    row.add(timed([&] { row.require(!handle.Open(), "opened a stranger's registry"); }));
    row.require(row.worstWaitMs < 100 && !handle.Opened() && handle.MyId() == 0, "held up");
    if (withStudio) {
        const Studio studio(false);
        row.require(studio.kick() == 0 && !studio.isDucked(), "paired through it");
        row.add(studio.report());
    }
    const struct stat after = lookAt();
    row.require(before.st_uid == kStranger && before.st_ino == after.st_ino &&
                    before.st_mode == after.st_mode && before.st_size == after.st_size,
                "touched what is not the user's");
}

Row squat(bool full) {
    Row row{.outcome = kNotRun};
    if (!As(kUser).done)
        return row;
    const auto loaded = support::plugin(); // from a folder that the user may not be let into
    for (const auto& [what, make] : kSquats)
        for (const uid_t user : {kUser, uid_t{0}}) {
            (void)std::remove(raw::kPath);
            if (const As stranger(kStranger); stranger.done)
                make();
            Row one;
            if (const As as(user); as.done)
                openSquatted(one, full || row.rounds < 2);
            one.problem = one.failed() ? std::string(what) + ": " + one.problem : "";
            row.add(one);
            ++row.rounds;
        }
    (void)std::remove(raw::kPath);
    row.outcome = "unpaired at once, also as root; plays; what is there stays untouched";
    row.lost = "pairing";
    return row;
}

/// A user's dead registry, locked by another reader; then one that its owner has opened to others.
Row lockByStranger(bool /*full*/) {
    Row row{.rounds = 1, .outcome = kNotRun};
    if (!As(kUser).done)
        return row;
    const As user(kUser);
    row.require(TessellaDuckworkSHM().Open(), "no registry");
    age(60);
    const ino_t dead = lookAt().st_ino;
    const int descriptor = open(raw::kPath, O_RDONLY | O_CLOEXEC);
    row.require(flock(descriptor, LOCK_EX | LOCK_NB) == 0, "not injected");
    TessellaDuckworkSHM handle;
    TessellaDuckworkSHM second;
    row.add(timed([&] { row.require(handle.Open(), "kept out by a lock"); }));
    row.require(lookAt().st_ino != dead, "kept in a dead registry by a lock");
    chmod(raw::kPath, 0666);
    row.require(second.Open() && (lookAt().st_mode & 0777) == 0644, "left open to others");
    close(descriptor);
    row.outcome = "replaced all the same, after 0.5 s; closed to others when joined";
    return row;
}

} // namespace

Faults objectFaults() {
    Faults all;
    for (const Change& what : kChanges)
        all.push_back(
            {what.name, what.injected, [&what](bool full) { return change(what, full); }});
    all.push_back({"truncated-all-the-time", "the object is cut and extended 5000 times a second",
                   truncateStorm});
    for (const Trouble& what : kTroubles)
        all.push_back(
            {what.name, what.injected, [&what](bool full) { return trouble(what, full); }});
    all.push_back(
        {"squatted", "another user's file, registry, directory, pipe, link under the name", squat});
    all.push_back({"locked-by-another",
                   "another process locks a dead object; an object writable by others",
                   lockByStranger});
    return all;
}

} // namespace faults
