#pragma once

#include "Agent/Evaluation/AgentContext.h"
#include "Questions/DifferenceGroups.h"
#include "Watch/Explanation.h"

namespace Qcf::Questions {

/// A function with the lists that it is evaluated with.
struct ComparedPolicy {
    PtrConst<Eval::Function> function;
    PtrConst<ExternalMatchersBase> matchers;
};

/// What is compared: two policies over the same routes.
struct Comparison {
    ComparedPolicy older;
    ComparedPolicy newer;
    /// Makes of a route the one that the newer policy is to be evaluated for; null for the same.
    /// The second route is one that is used again and again.
    std::function<void(Agent::Route const & from, Agent::Route & to)> alter = {};
    /// Whether a difference is counted, by both evaluations; null for all. What it leaves out
    /// counts as no route at all.
    std::function<bool(Agent::Evaluated const & older, Agent::Evaluated const & newer)> selects =
        {};
};

/// Compares two policies route by route. Both run as they usually do; routes that differ alone are
/// evaluated once more, watched, to find where the evaluations part.
///
///     RouteComparer comparer(comparison);
///     comparer.take(evaluated); // by the older policy
///     total.add(comparer.takeGroups());
///
/// Belongs to one thread. The comparison must outlive it.
class RouteComparer {
public:
    explicit RouteComparer(Comparison const & comparison);

    /// Compares the route's evaluation by the older policy with one by the newer.
    void take(Agent::Evaluated const & older);
    /// What was counted since the last call.
    DifferenceGroups takeGroups() { return std::exchange(groups_, DifferenceGroups()); }

private:
    /// A policy with a context of this thread.
    class Side {
    public:
        explicit Side(ComparedPolicy const & policy)
            : policy_(policy),
              agent_(makePtr<Agent::AgentContext>(policy.matchers)),
              context_(agent_) {}
        Eval::EvalResult eval(Agent::Route const & route) {
            agent_->routeIs(route);
            return policy_.function->eval(context_);
        }
        Agent::AgentContext & context() { return *agent_; }

    private:
        ComparedPolicy const & policy_;
        // One context in two types, so that no pointer is converted for a route.
        Ptr<Agent::AgentContext> agent_;
        Ptr<Eval::EvalContextBase> context_;
    };
    /// The same, watched.
    struct WatchedSide {
        explicit WatchedSide(ComparedPolicy const & policy)
            : side(policy), watched(side.context()) {}
        Side side;
        Watch::Watched watched;
    };

    void note(Agent::Evaluated const & older, Agent::Evaluated const & newer);

    Comparison const & comparison_;
    Side newer_;
    WatchedSide watchedOlder_;
    WatchedSide watchedNewer_;
    TraceComparison traces_;
    Agent::Route altered_;
    DifferenceGroups groups_;
};

/// How a comparison goes over a table.
struct ComparisonRun {
    Comparison comparison;
    U32 threads = 1;
    U64 limit = ~U64{0}; ///< routes to read at most
    /// Whether a route is compared at all; null for every one. Called by all threads.
    std::function<bool(U64 number, Agent::Route const & route)> select = {};
    /// Told now and then, in turn, how many routes are done; may be null.
    std::function<void(U64 routes)> done = {};
};

/// Compares over the whole table. Throws as evaluateTable does; where `brokenOff` is given what
/// broke the table off is put there instead, and what was compared before is answered.
DifferenceGroups compareOverTable(Agent::RouteReader & reader, ComparisonRun const & run,
                                  std::exception_ptr * brokenOff = nullptr);

} // namespace Qcf::Questions
