#pragma once

#include "Platform/Framework/Types.h"

#include <atomic>
#include <functional>
#include <iosfwd>
#include <memory>
#include <ostream>
#include <string_view>

/// A named source of trace messages with a level of its own; level 0 (the start) is off.
///
///     TraceFacility facility("QcfEval");
///     QCF_TRACE(facility, 1, "IfExpression: condition=" << value);
///
///     TraceFacility::find("QcfEval")->levelIs(1); // from now on, in all threads
///
/// Facilities are made at namespace scope, live as long as the process and may be used from any
/// thread. While a facility is off a trace statement costs one relaxed load and one branch, and its
/// message is not made.
class TraceFacility {
public:
    /// Where messages go; called from whatever thread traces, one call at a time. Messages come as
    /// they were made, without facility, time or line end.
    using Sink = std::function<void(int level, String const & message)>;

    /// Makes the facility known under `name`, which must be a literal and not yet taken. The name
    /// is not copied.
    explicit TraceFacility(char const * name);
    /// Afterwards it is not found any more; no thread may be using it.
    ~TraceFacility();
    TraceFacility(TraceFacility const &) = delete;
    TraceFacility & operator=(TraceFacility const &) = delete;

    /// The name that it was made with.
    char const * name() const noexcept { return name_; }
    /// The highest level of messages that are wanted.
    int level() const noexcept { return level_.load(std::memory_order_relaxed); }
    /// In effect at once, though a thread may see it a little later than another.
    void levelIs(int level) noexcept { level_.store(level, std::memory_order_relaxed); }
    /// Whether messages of `level` (1 and up) are wanted. Level 1 is for what an operator asks
    /// first, higher levels tell more.
    bool on(int level) const noexcept { return level <= this->level(); }
    /// Hands a message to the sink, whatever the level.
    void trace(int level, String const & message) const;

    /// The facility of that name, null when there is none.
    static TraceFacility * find(std::string_view name);
    /// Replaces the sink of all facilities; an empty function brings back the one to standard
    /// error.
    static void sinkIs(Sink sink);

private:
    /// A literal, not owned.
    char const * name_;
    std::atomic<int> level_{0};
};

/// A message under construction; only QCF_TRACE makes one. It is a member of the macro only so that
/// the code at its place stays small.
class TraceMessage {
public:
    TraceMessage();
    ~TraceMessage();
    TraceMessage(TraceMessage const &) = delete;
    TraceMessage & operator=(TraceMessage const &) = delete;

    /// What the message is written to.
    std::ostream & stream() noexcept;
    /// Hands the message to the facility's sink.
    void send(TraceFacility const & facility, int level) const;

private:
    /// A pointer, so that a place that traces holds one word and no stream.
    std::unique_ptr<std::ostringstream> text_;
};

/// Traces `streamExpr` (`"a=" << a`) when `facility` is on for `level`; otherwise the expression is
/// not evaluated.
#define QCF_TRACE(facility, level, streamExpr)                                                     \
    do {                                                                                           \
        if ((facility).on(level)) [[unlikely]] {                                                   \
            TraceMessage qcfTraceMessage_;                                                         \
            qcfTraceMessage_.stream() << streamExpr; /* NOLINT(bugprone-macro-parentheses) */      \
            qcfTraceMessage_.send(facility, level);                                                \
        }                                                                                          \
    } while (false)
