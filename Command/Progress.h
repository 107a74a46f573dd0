#pragma once

#include "Platform/Framework/Types.h"

#include <chrono>

/// A line on the terminal about work that takes long: nothing where standard error is no terminal,
/// nothing within the first second. Belongs to one thread at a time.
///
///     Progress progress("routes");
///     progress.done(count); // as often as one likes: it looks at the clock only
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
    /// Since it was made.
    F64 seconds() const;

private:
    using Clock = std::chrono::steady_clock;

    char const * what_;
    /// Whether standard error is one.
    bool terminal_;
    /// Whether there is a line to wipe.
    bool shown_ = false;
    Clock::time_point start_ = Clock::now();
    /// When the line is to be written again.
    Clock::time_point next_;
};
