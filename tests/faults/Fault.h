/// What the fault harness is made of: named faults, the row that each leaves, and their tools.
#pragma once

#include "tests/support/Eventually.h"

#include <cstdint>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace faults {

/// What one fault has shown. `problem` stays empty when all went as it must.
struct Row {
    int rounds = 0;
    std::string outcome{}, problem{};
    double worstBlockUs = -1.0; ///< processor time of one block; below 0: no audio in this fault
    double worstWaitMs = -1.0;  ///< of one call on the main thread
    std::string lost = "nothing";
    // Of the audio threads: blocks, what they called beside the clock, and how often lost memory
    // was replaced under them (see RealTimeWatch).
    std::uint64_t blocks = 0, calls = 0, repairs = 0;

    /// Notes the first thing that is not as it must be.
    void require(bool holds, const std::string& what) {
        problem = holds || failed() ? problem : what;
    }
    [[nodiscard]] bool failed() const { return !problem.empty(); }
    /// Takes over what another row has measured, and its problem.
    void add(const Row& other);
};

/// "0 in 4711 blocks", with the repairs where there were any; a dash without audio.
std::string callsOf(const Row& row);

struct Fault {
    const char* name;
    const char* injected;
    std::function<Row(bool full)> run;
};
using Faults = std::vector<Fault>;
Faults processFaults();
Faults objectFaults();

/// Runs something in a child process, which then ends, with 1 for false or an exception. It dies
/// with its parent, and after four hours at the latest.
pid_t spawn(const std::function<bool()>& work);
bool succeeded(pid_t child); ///< Waits for its end: by itself and with true?
void destroy(pid_t child);   ///< Kills it and waits for its end.

using support::eventually;
/// How long a call takes, as a row.
Row timed(const std::function<void()>& call);
/// Two newcomers must find each other and pair; they sweep first, as an editor does.
Row newPair(int round);
/// Whether the registry lock is out of use: nobody alive holds it for 0.2 s.
bool lockIsLost();
/// Makes all signs of life older by that many seconds, but those of some instances: as if the time
/// had passed without any, or the wall clock had been stepped. Below 0: younger.
void age(std::int64_t seconds, const std::vector<std::uint64_t>& except = {});

// Clock.cpp: the harness's own functions stand in for the C library's, for the loaded plug-in too.
// Heartbeats come every 0.15 s instead of 3 s: waits on a condition that have an end last a
// twentieth, and the waiting thread's monotonic clock is put ahead by the rest.

/// How often this thread has tried to get a lock.
int lockTries();

} // namespace faults
