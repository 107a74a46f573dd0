#pragma once

#include "Platform/Framework/Types.h"

#include <chrono>

/// A line on the terminal about work that takes long: nothing where standard error is no terminal,
/// nothing within the first second. Belongs to one thread at a time.
class Progress {
public:
    /// `what` is counted ("routes").
    explicit Progress(char const * what);
    /// Wipes the line.
    ~Progress();
    Progress(Progress const &) = delete;
    Progress & operator=(Progress const &) = delete;

    /// Tells how much is done.
    void done(U64 count);
    F64 seconds() const;

private:
    using Clock = std::chrono::steady_clock;

    char const * what_;
    bool terminal_;
    bool shown_ = false;
    Clock::time_point start_ = Clock::now();
    Clock::time_point next_;
};
