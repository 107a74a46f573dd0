#pragma once

#include "Live/Board.h"

#include <deque>

/// What people see of a station that runs: on a terminal all peers, drawn anew each second, with
/// the last notes below; elsewhere a line a minute.
class WatchView {
public:
    /// All must outlive it. `policy` is what the policy is called.
    WatchView(Qcf::Live::RouterSet & routers, Qcf::Live::RunningComparison const & comparison,
              String policy);

    /// Whether standard output is a terminal.
    static bool isScreen();
    /// Shows, where it is time to; may be called as often as one likes.
    void show();
    /// A line to be seen on the terminal.
    void note(String const & line);
    /// Leaves the terminal for what is to be read there at last.
    void close();

private:
    using Clock = std::chrono::steady_clock;

    void draw();
    String line() const;

    Qcf::Live::RouterSet & routers_;
    Qcf::Live::RunningComparison const & comparison_;
    String policy_;
    bool isScreen_;
    std::deque<String> notes_;
    Clock::time_point next_;
};
