#include "Command/Signals.h"

#include <csignal>

#include <unistd.h>

namespace {

// Of the one type that a signal's handler may write to.
volatile std::sig_atomic_t stopAsked = 0;
volatile std::sig_atomic_t reloadAsked = 0;

} // namespace

void stopOnSignals() {
    struct sigaction action {};
    action.sa_handler = [](int) { stopAsked = 1; };
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

bool stopIsAsked() { return stopAsked != 0; }

void reloadOnSignal() {
    if (::isatty(STDIN_FILENO) == 1 || ::isatty(STDERR_FILENO) == 1) {
        return;
    }
    struct sigaction action {};
    action.sa_handler = [](int) { reloadAsked = 1; };
    // Reading a table is not to fail for it.
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGHUP, &action, nullptr);
}

bool reloadIsAsked() { return reloadAsked != 0; }

bool reloadIsTaken() {
    bool const asked = reloadIsAsked();
    reloadAsked = 0;
    return asked;
}
