#include "tools/common/Interrupt.h"

#include <csignal>
#include <initializer_list>

namespace tools {
namespace {

volatile std::sig_atomic_t gCaught = 0;

void note(int signal) { gCaught = signal; }

} // namespace

void catchInterrupts() {
    struct sigaction handler {};
    handler.sa_handler = note; // no SA_RESTART: who waits for a terminal or a pipe shall wake up
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction former {};
        sigaction(signal, nullptr, &former);
        if (former.sa_handler != SIG_IGN) // as nohup wants it
            sigaction(signal, &handler, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

int caughtInterrupt() { return gCaught; }

void checkInterrupt() {
    if (gCaught != 0)
        throw Interrupted(gCaught);
}

} // namespace tools
