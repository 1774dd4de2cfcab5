/// Ctrl-C and its like, so that instances are closed and nothing unfinished is left behind.
#pragma once

#include <exception>

namespace tools {

/// Ends the program as the signal would have done, once everything is put away. Caught in
/// runProgram.
class Interrupted : public std::exception {
public:
    explicit Interrupted(int caught) : signalNumber(caught) {}
    [[nodiscard]] int signal() const { return signalNumber; }
    [[nodiscard]] const char* what() const noexcept override { return "interrupted"; }

private:
    int signalNumber;
};

/// From now on SIGINT, SIGTERM and SIGHUP are kept for checkInterrupt, where they were not ignored
/// before, and a reader that goes away (SIGPIPE) makes writing fail instead. [main]
void catchInterrupts();

/// The signal that has come, 0 for none. [any]
[[nodiscard]] int caughtInterrupt();

/// Throws Interrupted when a signal has come. To be called wherever something takes its time.
void checkInterrupt();

} // namespace tools
