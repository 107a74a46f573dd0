#pragma once

#include "Agent/Evaluation/ParallelEvaluation.h"

#include <array>

/// Counts of evaluated routes. Each sink counts its own; they are added up in the order of the
/// table.
struct RouteTally {
    /// Evaluated in all.
    U64 routes = 0;
    std::array<U64, 3> results{}; ///< by TriStateBoolValue
    /// Routes of which at least one attribute changed.
    U64 changedRoutes = 0;
    std::array<U64, 32> changed{}; ///< by ModifiableAttribute
    U64 nextHopSetToSelf = 0;

    /// Counts a route.
    void add(Qcf::Agent::Evaluated const & evaluated);
    /// Counts what another tally has counted.
    void add(RouteTally const & other);

    /// The closing summary: a line a count, `name: number`. Kinds of records that the reader did
    /// not meet are left out. `seconds` is the time that the whole run took.
    String summary(Qcf::Agent::ReadStatistics const & read, F64 seconds) const;
};
