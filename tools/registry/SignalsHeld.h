/// Keeps the user's interrupts away from the moments in which this program holds the registry lock.
#pragma once

#include <csignal>

namespace registry {

/// Signals that end or stop the program wait while this lives. The lock does not outlive its
/// holder's death gracefully: a Ctrl-C or Ctrl-Z under it would lock out every instance for good.
class SignalsHeld {
public:
    SignalsHeld() {
        sigset_t held;
        sigemptyset(&held);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP})
            sigaddset(&held, signal);
        sigprocmask(SIG_BLOCK, &held, &former);
    }
    ~SignalsHeld() { sigprocmask(SIG_SETMASK, &former, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t former;
};

} // namespace registry
