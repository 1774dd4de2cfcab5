/// fault-harness [--full] [NAME...]: breaks the registry on purpose and looks what becomes of those
/// who use it. A row a fault, fields separated by tabs: name, injected, rounds, outcome, worst
/// audio block µs, worst wait on the main thread ms, calls on the audio thread, lost.
/// fault-harness soak MINUTES: see Soak.h.
/// Exit status 1 when anything is not as it must be.
#include "host/PrivateShm.h"
#include "tests/faults/Fault.h"
#include "tests/faults/Soak.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <unistd.h>

namespace {

faults::Row runSafely(const faults::Fault& fault, bool full) {
    try {
        return fault.run(full);
    } catch (const std::exception& failure) {
        return {.problem = failure.what()};
    }
}

/// Every fault in a process of its own. False when something was not as it must be.
bool report(const faults::Fault& fault, bool full) {
    unlink("/dev/shm/td_spectral_registry");
    const faults::Row row = runSafely(fault, full);
    std::printf("%s\t%s\t%d\t%s\t%.0f\t%.1f\t%s\t%s\n", fault.name, fault.injected, row.rounds,
                (row.failed() ? "FAILED: " + row.problem : row.outcome).c_str(), row.worstBlockUs,
                row.worstWaitMs, faults::callsOf(row).c_str(), row.lost.c_str());
    std::fflush(stdout);
    return !row.failed();
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> names(argv + 1, argv + argc);
    const bool full = std::erase(names, "--full") > 0;
    if (!host::enterPrivateShm()) {
        std::fputs("faults need a private /dev/shm: run as root or allow user namespaces\n",
                   stderr);
        return 1;
    }
    if (names.size() == 2 && names[0] == "soak")
        return faults::soak(std::stod(names[1])) ? 0 : 1;
    bool allWell = true;
    for (const auto& group : {faults::processFaults(), faults::objectFaults()})
        for (const faults::Fault& fault : group)
            if (names.empty() || std::ranges::find(names, fault.name) != names.end())
                allWell &= faults::succeeded(faults::spawn([&] { return report(fault, full); }));
    return allWell ? 0 : 1;
}
