#pragma once

#include "Lists/Reporter.h"

#include <utility>

namespace Qcf::Agent {

/// Passes the first lines of diagnostics on and counts the rest, so that a file of noise does not
/// bury what was said first.
///
///     ReportLog log(report);
///     if (log.wantsLine()) {
///         log.add("record at 4711: ends too early");
///     } else {
///         log.addUnsaid();
///     }
///     log.close();
///
/// Belongs to one thread.
class ReportLog {
public:
    /// Lines that are passed on.
    static constexpr U64 maxLines = 20;

    /// An empty reporter drops the lines, which are counted all the same.
    explicit ReportLog(Lists::Reporter report) : report_(std::move(report)) {}

    /// Whether a line added now would be passed on; spares the caller making its text.
    bool wantsLine() const { return count_ < maxLines; }

    /// Passes the line on, or only counts it.
    void add(String const & line) {
        if (wantsLine()) {
            say(line);
        }
        ++count_;
    }

    /// Only counts lines.
    void addUnsaid(U64 lines = 1) { count_ += lines; }
    /// How many lines were counted and not passed on. They are told at the end as one line.
    U64 unsaid() const { return count_ > maxLines ? count_ - maxLines : 0; }

    /// Tells how many lines were held back; to be called once, at the end.
    void close() {
        if (unsaid() > 0) {
            say(std::to_string(unsaid()) + " more reports of this kind not shown");
        }
    }

    /// Forgets what was counted, for a log that goes on with another piece of a file.
    void restart() { count_ = 0; }

private:
    /// To the reporter, if there is one.
    void say(String const & line) {
        if (report_) {
            report_(line);
        }
    }

    /// Who gets the lines; may be empty.
    Lists::Reporter report_;
    /// Lines since the start, passed on or not.
    U64 count_ = 0;
};

} // namespace Qcf::Agent
