#pragma once

#include "Agent/RouteReader.h"

#include <utility>

namespace Qcf::Agent {

/// Passes the first lines of diagnostics on and counts the rest, so that a file of noise does not
/// bury what was said first.
class ReportLog {
public:
    static constexpr U64 maxLines = 20;

    ReportLog(String name, Reporter report) : name_(std::move(name)), report_(std::move(report)) {}

    /// Whether a line added now would be passed on; spares the caller making its text.
    bool wantsLine() const { return count_ < maxLines; }

    /// One line; the name of the file is put in front of it.
    void add(String const & line) {
        if (wantsLine()) {
            say(line);
        }
        ++count_;
    }

    /// Only counts a line.
    void addUnsaid() { ++count_; }

    /// Tells how many lines were held back; to be called once, at the end.
    void close() {
        if (count_ > maxLines) {
            say(std::to_string(count_ - maxLines) + " more reports of this kind not shown");
        }
    }

private:
    void say(String const & line) {
        if (report_) {
            report_(name_ + ": " + line);
        }
    }

    String name_;
    Reporter report_;
    U64 count_ = 0;
};

} // namespace Qcf::Agent
