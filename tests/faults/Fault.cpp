#include "tests/faults/Fault.h"
#include "tests/support/Test.h"

#include "shm/TessellaDuckworkSHM.h"

#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>

namespace faults {

void Row::add(const Row& other) {
    require(!other.failed(), other.problem);
    worstBlockUs = std::max(worstBlockUs, other.worstBlockUs);
    worstWaitMs = std::max(worstWaitMs, other.worstWaitMs);
    blocks += other.blocks;
    calls += other.calls;
    repairs += other.repairs;
}

std::string callsOf(const Row& row) {
    if (row.blocks == 0)
        return "–";
    const std::string repaired =
        row.repairs != 0 ? ", memory replaced " + std::to_string(row.repairs) + " times" : "";
    return std::to_string(row.calls) + " in " + std::to_string(row.blocks) + " blocks" + repaired;
}

pid_t spawn(const std::function<bool()>& work) {
    const pid_t child = fork();
    if (child != 0)
        return child;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    alarm(4 * 3600);
    try {
        _exit(work() ? 0 : 1);
    } catch (...) {
        _exit(1);
    }
}

bool succeeded(pid_t child) {
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void destroy(pid_t child) {
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

Row timed(const std::function<void()>& call) {
    using namespace std::chrono;
    const auto start = steady_clock::now();
    call();
    return {.worstWaitMs = duration<double, std::milli>(steady_clock::now() - start).count()};
}

Row newPair(int round) {
    TessellaDuckworkSHM a;
    TessellaDuckworkSHM b;
    bool both = false;
    Row row = timed([&] { both = a.Open(); });
    a.CleanDead();
    both = both && b.Open();
    // The living may hold the lock just then, and for long where they get no processor.
    const auto paired = [&] {
        a.SetRemoteId(b.MyId());
        b.SyncRemoteId();
        return b.RemoteId() == a.MyId();
    };
    row.require(both && eventually(paired), "no new pair in round " + std::to_string(round));
    return row;
}

bool lockIsLost() {
    raw::Segment segment;
    const bool free = eventually([&] { return pthread_mutex_trylock(segment.Mutex()) == 0; },
                                 std::chrono::milliseconds(200));
    return !free || pthread_mutex_unlock(segment.Mutex()) != 0;
}

void age(std::int64_t seconds, const std::vector<std::uint64_t>& except) {
    raw::Segment segment;
    for (std::size_t k = 0; k < 16; ++k)
        if (std::ranges::find(except, segment.Get<std::uint64_t>(raw::Slot(k))) == except.end())
            segment.Put(raw::Slot(k) + raw::kHeartbeat, std::time(nullptr) - seconds);
    raw::Age(seconds); // after the stores, which count as a change of the file
}

} // namespace faults
