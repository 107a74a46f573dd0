#include "Command/Progress.h"

#include <cstdio>

#include <unistd.h>

// Work that is done within the first second shows nothing. A log file or a pipe gets nothing at
// all: it would only be littered.
Progress::Progress(char const * what)
    : what_(what), terminal_(isatty(STDERR_FILENO) == 1), next_(start_ + std::chrono::seconds(1)) {}

// What is written next begins on a clean line.
Progress::~Progress() {
    if (shown_) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
    }
}

// Whether there is a terminal was asked once, at the start; the clock is all that a call costs
// between two lines.
void Progress::done(U64 count) {
    if (!terminal_) {
        return;
    }
    auto const now = Clock::now();
    if (now < next_) {
        return;
    }
    // More often than this nobody can read.
    next_ = now + std::chrono::milliseconds(200);
    shown_ = true;
    // To the start of the line, and the old one wiped: the new one may be shorter.
    std::fprintf(stderr, "\r\033[K%llu %s, %.0f per second", static_cast<unsigned long long>(count),
                 what_, static_cast<F64>(count) / seconds());
    std::fflush(stderr);
}

F64 Progress::seconds() const { return std::chrono::duration<F64>(Clock::now() - start_).count(); }
