#include "Command/Progress.h"

#include <cstdio>

#include <unistd.h>

Progress::Progress(char const * what)
    : what_(what), terminal_(isatty(STDERR_FILENO) == 1), next_(start_ + std::chrono::seconds(1)) {}

Progress::~Progress() {
    if (shown_) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
    }
}

void Progress::done(U64 count) {
    if (!terminal_) {
        return;
    }
    auto const now = Clock::now();
    if (now < next_) {
        return;
    }
    next_ = now + std::chrono::milliseconds(200);
    shown_ = true;
    std::fprintf(stderr, "\r\033[K%llu %s, %.0f per second", static_cast<unsigned long long>(count),
                 what_, static_cast<F64>(count) / seconds());
    std::fflush(stderr);
}

F64 Progress::seconds() const { return std::chrono::duration<F64>(Clock::now() - start_).count(); }
