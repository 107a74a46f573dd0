#pragma once

#include "Lists/NamedLists.h"
#include "Questions/DecidedThrough.h"
#include "Questions/PolicyComparison.h"

namespace Qcf::Questions {

/// Routes that one statement decided, all of them through the thing.
struct DecidedGroup {
    Eval::Expression const * statement = nullptr; ///< null where none decided
    Eval::Function const * within = nullptr;
    Eval::EvalResult result = {};
    U64 count = 0;
    RouteDifference example = {}; ///< its route, prefix and peer alone
};

/// What a list or an attribute does to the verdicts about a table.
struct Impact {
    std::vector<DecidedGroup> decided; ///< the largest first
    U64 decidedRoutes = 0;
    U64 routes = 0; ///< evaluated
    /// Against the evaluation without it; no routes where there is none.
    DifferenceGroups without;
};

/// How the impact of a thing is found out.
struct ImpactRun {
    NamedThing const & thing;
    NamedReaders const & readers;
    Documents::Program const & program;
    PtrConst<Eval::Function> function;
    PtrConst<Lists::NamedLists> lists; ///< may be null
    U32 threads = 1;
    U64 limit = ~U64{0}; ///< routes to read at most
    /// As in ComparisonRun.
    std::function<bool(U64 number, Agent::Route const & route)> select = {};
    /// Whether a route counts, by its evaluation with the thing; null for every one.
    std::function<bool(Agent::Evaluated const & evaluated)> selects = {};
    std::function<void(U64 routes)> done = {};
};

/// Why a route cannot be without the attribute; empty where it can, and for lists.
String whyNeeded(NamedThing const & thing);

/// The same lists, those of the name without entries; null where there are none at all.
PtrConst<Lists::NamedLists> emptied(PtrConst<Lists::NamedLists> const & lists, String const & name);

/// Makes a copy of a route that has the attribute's default as if it had come without it.
void copyWithout(std::size_t routeIndex, Agent::Route const & from, Agent::Route & to);

/// Evaluates the table with the thing, watched, and without it: lists of that name without entries,
/// or routes without the attribute. A table that breaks off is as for compareOverTable.
Impact impactOver(Agent::RouteReader & reader, ImpactRun const & run,
                  std::exception_ptr * brokenOff = nullptr);

} // namespace Qcf::Questions
