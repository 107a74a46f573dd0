#pragma once

#include "QcfLib/Plan/PlanStep.h"
#include "QcfLib/PlanEpoch.h"

#include <memory>
#include <vector>

namespace Qcf::Eval {

class Function;

/// A function lowered for speed: steps that read attributes without asking their nodes, have their
/// constants in place and know what comes next for each outcome; tests of one attribute against
/// many constants are one look-up.
///
/// A plan gives the results and write-backs of its tree and nothing else: evaluations that are
/// logged or traced walk the tree, and a node without a step of its own is evaluated as it stands.
/// In a chain of `else if` whose conditions only read, an attribute that many of them test against
/// constants is fetched once. A small callee whose arguments are constants is lowered where it is
/// called. A plan takes memory in proportion to its function's nodes, shared ones counted once;
/// what would take more, or nests too deep, stays as it stands. Immutable once built; run by any
/// number of threads. It refers to the nodes of its function, which must outlive it.
class Plan {
public:
    /// `earlier` is the plan that this one takes the place of, which somebody may still be running.
    explicit Plan(Function const & function, std::unique_ptr<Plan const> earlier = nullptr);

    /// The end that a run of the function's body comes to.
    PlanStep const & run(Ptr<EvalContextBase> const & context) const {
        return runSteps(first_, PlanRun(context));
    }

    /// Steps that were made, for reports on memory.
    std::size_t stepCount() const { return steps_.size(); }

    /// Process-wide switch, on at the start: whether functions are evaluated by their plans.
    static bool enabled() { return PlanEpoch::enabled(); }
    static void enabledIs(bool enabled) { PlanEpoch::enabledIs(enabled); }

    /// Whether it is to be run: plans are switched on, and it has the present constants in place.
    bool isCurrent() const { return epoch_ == PlanEpoch::current(); }

private:
    friend class KeptPlan;

    U32 epoch_;
    PlanStep const * first_;
    std::vector<std::unique_ptr<PlanStep const>> steps_;
    std::unique_ptr<Plan const> earlier_;
};

} // namespace Qcf::Eval
