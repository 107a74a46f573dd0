#pragma once

#include "Platform/Framework/DumpContext.h"
#include "QcfLib/EvalResult.h"
#include "QcfLib/PlanEpoch.h"

#include <memory>
#include <vector>

namespace Qcf::Eval {

class CountLayout;
class Expression;
class Function;
class PlanStep;
class PlanSteps;

/// A function lowered for speed: steps that read attributes without asking their nodes, have their
/// constants in place and know what comes next for each outcome; the conditions of a chain of
/// `else if` are one decision table.
///
///     Plan::enabledIs(false);                 // evaluate by the walk, to compare
///     function->planFor(*function).dump(out); // what a plan makes of its function
///
/// The tree is what a function means, the plan is how it runs. A plan gives the results and
/// write-backs of its tree and nothing else: evaluations that are logged or traced walk the tree,
/// and a node without a step of its own is evaluated as it stands. In conditions that only read, an
/// attribute that many of them test against constants is fetched once. A small callee whose
/// arguments are constants is inlined. A plan takes memory in proportion to its function's nodes,
/// shared ones counted once; what would take more, or nests too deep, stays as it stands.
///
/// Immutable once built; run by any number of threads. It refers to the nodes of its function,
/// which must outlive it.
class Plan {
public:
    /// `earlier` is the plan that this one takes the place of, which somebody may still be running.
    explicit Plan(Function const & function, std::unique_ptr<Plan const> earlier = nullptr);
    ~Plan();
    Plan(Plan const &) = delete;
    Plan & operator=(Plan const &) = delete;

    /// Where a run starts.
    PlanStep const & first() const { return *first_; }
    /// The same, but for a plan that counts: there the evaluation is counted before, by an index in
    /// the context's counters, which need room.
    PlanStep const & entry() const { return *entry_; }
    U32 entered() const { return entered_; }
    U32 countersEnd() const { return countersEnd_; }

    /// Steps that were made, for reports on memory.
    std::size_t stepCount() const;

    /// What it counts; null for a plan that does not (StatementCounts.h).
    CountLayout const * countLayout() const { return countLayout_.get(); }
    /// Its counters, of which each context has a number of 8 bytes; 0 for a plan that does not
    /// count.
    std::size_t counterCount() const;

    /// The nodes that it evaluates as they stand, each once, in about the order of the text: those
    /// of inlined callees are among them. Empty for a function all of which has steps.
    std::vector<Expression const *> nodesWithoutStep() const;

    /// Prints the steps in the order in which they can be reached: what each does, the nodes that
    /// it stands for, where it goes for which outcome.
    void dump(PtrConst<DumpContext> const & dumpContext) const;

    /// Process-wide switch, on at the start: whether functions are evaluated by their plans.
    static bool enabled() { return PlanEpoch::enabled(); }
    static void enabledIs(bool enabled) { PlanEpoch::enabledIs(enabled); }

    /// Whether it is to be run: plans are switched on, and it has the present constants in place.
    /// Plans that count are asked for apart, so that it is one comparison for the others.
    bool isCurrent() const { return runEpoch_ == PlanEpoch::current(); }
    /// Of a plan that is not: whether it is one that counts, and to be run.
    bool isCurrentCounting() const { return epoch_ == PlanEpoch::current(); }

private:
    friend class KeptPlan;

    U32 epoch_;
    U32 runEpoch_; ///< that, or `never` when it counts
    U32 entered_ = 0;
    U32 countersEnd_ = 0;
    PlanStep const * first_ = nullptr;
    PlanStep const * entry_ = nullptr;
    std::unique_ptr<CountLayout const> countLayout_;
    std::unique_ptr<PlanSteps const> steps_;
    /// Kept while the function lives, since a thread may be within it and no one counts who is.
    std::unique_ptr<Plan const> earlier_;
};

} // namespace Qcf::Eval
