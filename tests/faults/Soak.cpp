#include "tests/faults/Soak.h"

#include "tests/faults/Studio.h"
#include "tests/support/Screen.h"
#include "tests/support/Test.h"
#include "tests/support/Track.h"

#include <cstdio>
#include <exception>

namespace faults {
namespace {

using Clock = std::chrono::steady_clock;
using Minutes = std::chrono::duration<double, std::ratio<60>>;

/// What a process holds: memory in use, open descriptors, threads.
struct Holding {
    long kilobytes = 0, descriptors = 0, threads = 0;

    [[nodiscard]] bool atMost(const Holding& most) const {
        return kilobytes <= most.kilobytes && descriptors <= most.descriptors &&
               threads <= most.threads;
    }
};

/// What every process may hold more at the end than after a quarter of the time. GL takes its
/// memory in the first ten seconds.
Holding mostGrowth(Minutes length) {
    const bool isWarm = length > Minutes(1.0);
    return {.kilobytes = isWarm ? 8192 : 65536, .descriptors = 0, .threads = 0};
}

long entriesIn(const std::filesystem::path& folder) {
    using std::filesystem::directory_iterator;
    return std::distance(directory_iterator(folder), directory_iterator());
}

/// The least of each in a tenth of a second: a save or a visitor just then does not count.
Holding heldBy(pid_t process) {
    const std::filesystem::path folder = "/proc/" + std::to_string(process);
    Holding least{.kilobytes = 1L << 40, .descriptors = 1 << 20, .threads = 1 << 20};
    for (int look = 0; look < 20;
         ++look, std::this_thread::sleep_for(std::chrono::milliseconds(5))) {
        long total = 0;
        long pages = 0;
        std::ifstream(folder / "statm") >> total >> pages;
        least = {.kilobytes = std::min(least.kilobytes, pages * (sysconf(_SC_PAGESIZE) / 1024)),
                 .descriptors = std::min(least.descriptors, entriesIn(folder / "fd")),
                 .threads = std::min(least.threads, entriesIn(folder / "task"))};
    }
    return least;
}

/// Hosts that live through the whole of it.
class Residents {
public:
    void add(const Studio::Setup& setup) { studios.push_back(std::make_unique<Studio>(setup)); }
    /// To be called all the time. False when it is over.
    bool goOn(Minutes length) {
        const auto now = Clock::now();
        if (started == Clock::time_point{})
            started = now;
        if (before.empty() && now - started > length / 4.0)
            for (const auto& studio : studios)
                before.push_back(heldBy(studio->process()));
        return now - started < length;
    }
    [[nodiscard]] const Studio& operator[](std::size_t i) const { return *studios[i]; }
    [[nodiscard]] std::size_t size() const { return studios.size(); }

    /// What was measured, and in `row` what was not as it must be.
    [[nodiscard]] std::vector<std::string> figures(Minutes length, Row& row) const;

private:
    std::vector<std::unique_ptr<Studio>> studios;
    std::vector<Holding> before;
    Clock::time_point started{};
};

std::string text(const char* format, auto... values) {
    char line[200];
    std::snprintf(line, sizeof line, format, values...);
    return line;
}

constexpr const char* kFigures[] = {
    "Length, s",
    "Hosts that live through it, and their instances",
    "What else happens",
    "Blocks of 32 samples at 48 kHz",
    "Calls on the audio threads but for the clock",
    "Longest processor time of a block, µs",
    "Longest of a host's period of 667 µs, µs",
    "Periods in which it was longer than the period",
    "Longest wait on a main thread, ms",
    "Most growth of a host: KiB, descriptors, threads",
    "What was not as it must be",
};

std::vector<std::string> Residents::figures(Minutes length, Row& row) const {
    const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
    double longestPeriodUs = 0.0;
    std::uint64_t periods = 0;
    std::uint64_t missed = 0;
    Holding growth{};
    for (std::size_t i = 0; i < studios.size(); ++i) {
        row.add(studios[i]->report());
        longestPeriodUs = std::max(longestPeriodUs, studios[i]->longestPeriodUs());
        periods += studios[i]->periods();
        missed += studios[i]->missed();
        const Holding now = heldBy(studios[i]->process());
        growth.kilobytes = std::max(growth.kilobytes, now.kilobytes - before[i].kilobytes);
        growth.descriptors = std::max(growth.descriptors, now.descriptors - before[i].descriptors);
        growth.threads = std::max(growth.threads, now.threads - before[i].threads);
    }
    const std::string grown =
        text("%ld, %ld, %ld", growth.kilobytes, growth.descriptors, growth.threads);
    row.require(growth.atMost(mostGrowth(length)), "a host has grown by " + grown);
    const auto count = [](std::uint64_t number) { return std::to_string(number); };
    return {text("%.0f", seconds),
            text("%zu", studios.size()),
            row.outcome,
            count(row.blocks),
            count(row.calls),
            text("%.0f", row.worstBlockUs),
            text("%.0f", longestPeriodUs),
            count(missed) + " of " + count(periods),
            text("%.1f", row.worstWaitMs),
            grown,
            row.failed() ? row.problem : "nothing"};
}

constexpr float kEditsPerSecond = 60.0F;

/// What an editor does to its peer while somebody drags: every group of settings, with every frame.
/// Basses stay ducked, kicks as loud as they are.
void editAll(const Residents& hosts, shm::RegistryMonitor& monitor, int frame) {
    const auto phase = static_cast<float>(frame % 60);
    const TDBand bands[] = {{20.0F, 300.0F + phase, -60.0F + phase / 30.0F, 20.0F, true},
                            {300.0F + phase, 20000.0F, -58.0F, 18.0F, true}};
    for (std::size_t host = 0; host < hosts.size(); ++host)
        for (std::size_t pair = 0; pair < Studio::kMaxPairs; ++pair)
            for (const std::uint64_t id : {hosts[host].kick(pair), hosts[host].bass(pair)}) {
                monitor.WriteBandsOf(id, bands, 1 + frame % 2);
                monitor.WriteHpLpOf(id, 20.0F + phase, 20000.0F - phase);
                monitor.WriteControlsOf(id, 1.0F + phase / 10.0F, 20.0F + phase / 10.0F, 0.0F);
            }
}

std::vector<std::string> load(Minutes length, Row& row) {
    Residents hosts;
    for (const auto editorAt : {std::optional(0), std::optional(600), {}, {}})
        hosts.add({.pairs = 2, .block = 32, .realTime = true, .editorAt = editorAt});
    shm::RegistryMonitor monitor;
    row.require(monitor.Attach(), "no registry");
    for (std::size_t i = 0; i < hosts.size(); ++i) // every other pair across processes
        row.require(monitor.Pair(hosts[i].kick(), hosts[(i + 1) % hosts.size()].bass()), "no pair");
    auto due = Clock::now();
    int frame = 0;
    for (; hosts.goOn(length); ++frame) {
        editAll(hosts, monitor, frame);
        due += std::chrono::duration_cast<Clock::duration>(
            std::chrono::duration<float>(1.0F / kEditsPerSecond));
        std::this_thread::sleep_until(due);
    }
    for (std::size_t i = 0; i < hosts.size(); ++i)
        row.require(hosts[i].comesToDuck(), "a pair has come apart");
    row.outcome = text("%d edits of every instance, as by its peer's editor, at 60 Hz", frame);
    auto figures = hosts.figures(length, row);
    figures[1] = "4 with 16, 2 editors open";
    return figures;
}

/// Opens, pairs with each other or with a stranger, plays, closes, until killed.
[[noreturn]] void comeAndGo(std::uint64_t stranger) {
    const support::Stereo silence{std::vector<double>(1024), std::vector<double>(1024)};
    for (bool withStranger = false;; withStranger = !withStranger) {
        support::Track one;
        support::Track other;
        shm::RegistryMonitor monitor;
        if (monitor.Attach())
            monitor.Pair(one.id(), withStranger ? stranger : other.id());
        for (support::Track* const track : {&one, &other}) {
            track->start(48000.0);
            (void)track->play(silence, 64);
        }
    }
}

std::vector<std::string> churn(Minutes length, Row& row) {
    Residents hosts;
    for (int host = 0; host < 2; ++host)
        hosts.add({.pairs = 2, .block = 32, .realTime = true, .visitors = true});
    std::vector<std::uint64_t> residents;
    for (std::size_t host = 0; host < hosts.size(); ++host)
        for (std::size_t pair = 0; pair < Studio::kMaxPairs; ++pair)
            residents.insert(residents.end(), {hosts[host].kick(pair), hosts[host].bass(pair)});
    std::minstd_rand random(30);
    int kills = 0;
    int lost = 0;
    for (; hosts.goOn(length) && !row.failed(); ++kills) {
        const std::uint64_t stranger = residents[random() % residents.size()];
        const pid_t victim = spawn([=]() -> bool { comeAndGo(stranger); });
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 200'000));
        destroy(victim);
        // The dead have been silent for long. So have the living, when nobody gets the lock.
        const bool isLost = lockIsLost();
        age(60, isLost ? std::vector<std::uint64_t>{} : residents);
        lost += isLost ? 1 : 0;
        row.add(newPair(kills));
        for (std::size_t host = 0; host < hosts.size(); ++host)
            row.require(eventually([&] { return hosts[host].pair(); }) && hosts[host].isBack(),
                        "no pair again after kill " + std::to_string(kills));
    }
    std::uint64_t visitors = 0;
    for (std::size_t host = 0; host < hosts.size(); ++host)
        visitors += hosts[host].visitors();
    row.outcome = text("%d other hosts killed, %d with the lock in hand: pairs again after each; "
                       "%llu instances opened and closed",
                       kills, lost, static_cast<unsigned long long>(visitors));
    auto figures = hosts.figures(length, row);
    figures[1] = "2 with 8, no editor";
    return figures;
}

} // namespace

bool soak(double minutes) try {
    const support::XServer server(support::XServer::Drawing::Software);
    Row loaded;
    Row churned;
    const auto underLoad = load(Minutes(minutes / 4.0), loaded);
    raw::Remove(); // the killed hosts' slots with it
    const auto inChurn = churn(Minutes(minutes * 3.0 / 4.0), churned);
    for (std::size_t i = 0; i < underLoad.size(); ++i)
        std::printf("%s\t%s\t%s\n", kFigures[i], underLoad[i].c_str(), inChurn[i].c_str());
    return !loaded.failed() && !churned.failed();
} catch (const std::exception& failure) {
    std::fprintf(stderr, "soak: %s\n", failure.what());
    return false;
}

} // namespace faults
