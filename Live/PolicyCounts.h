#pragma once

#include "Live/RouteOutcome.h"

#include <array>
#include <vector>

namespace Qcf::Live {

/// How many routes of a table a policy accepts and rejects, and by which statements. What goes is
/// taken out again, so that it stands for what is there.
struct PolicyCounts {
    std::array<U64, verdictKinds> byVerdict{};
    /// By statement, as PolicyStatements numbers them, as far as any of them is used.
    std::vector<U64> decided;

    U64 of(Verdict verdict) const { return byVerdict[static_cast<U8>(verdict)]; }
    /// Routes without verdict do not count.
    void add(RouteOutcome const & outcome);
    /// Takes out what was added.
    void remove(RouteOutcome const & outcome);
    void add(PolicyCounts const & other);
    /// Counts of 0 at the end mean nothing.
    bool operator==(PolicyCounts const & other) const;
};

/// What another policy would make of routes, beside the one that is shown.
struct ChangeCounts {
    /// By the verdict before, then the one after: those of which neither is `none`.
    std::array<std::array<U64, verdictKinds>, verdictKinds> byVerdicts{};
    /// Of those that both accept, the ones of which they write another thing.
    U64 writesOther = 0;
    /// Of those with another verdict, by the statement that decides it.
    std::vector<U64> decided;

    void add(RouteOutcome const & before, RouteOutcome const & after);
    void remove(RouteOutcome const & before, RouteOutcome const & after);
    void add(ChangeCounts const & other);
    /// Routes that have both verdicts, and those of them with two different ones.
    U64 routes() const;
    U64 verdictsChanged() const;
};

} // namespace Qcf::Live
