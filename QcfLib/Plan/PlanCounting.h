#pragma once

#include "QcfLib/Plan/CountSteps.h"
#include "QcfLib/Plan/PlanSteps.h"

#include <unordered_map>

namespace Qcf::Eval {

/// With which results a function is left for each value of a condition; nothing for a value that
/// does not decide what the function answers.
using Decided = ByValue<std::optional<EvalResult>>;

/// What the lowering of a counting plan does beside that of any other: it notes each place in the
/// plan's layout, and puts counting steps where ways part.
///
/// Lowering goes from the end to the start; `line` turns what was noted around.
class PlanCounting {
public:
    PlanCounting(Function const & function, CountLayout & layout, PlanSteps & steps);

    /// Where a body ends that does not leave.
    PlanStep const * functionEnd() { return end({}, CountedEnd::By::functionEnd, ended_); }
    /// The whole plan. Where some part cannot be counted by steps, the function is
    /// walked.
    PlanStep const * plan(PlanStep const * first);
    /// Counts the evaluation before that, on a context that may not have room for the counters yet.
    PlanStep const * entry(PlanStep const * first);

    /// Notes the statements that `lower` makes. It answers the first step.
    template <typename Lower>
    PlanStep const * line(CountedStatements & into, Lower lower) {
        auto * const outer = std::exchange(line_, &into);
        PlanStep const * const step = lower();
        line_ = outer;
        std::reverse(into.begin(), into.end());
        return step;
    }
    /// A statement that `lower(next)` makes.
    template <typename Lower>
    PlanStep const * statement(Expression const & node, PlanStep const * next, Lower lower) {
        CountedStatement here{&node};
        if (is<FunctionCallExpression>(node) && mayExit(node)) {
            here.behind = layout_.take();
            next = counted(node, *here.behind, next);
        }
        auto * const outer = std::exchange(here_, &here);
        Decided const decidedOutside = std::exchange(decided_, {});
        PlanStep const * const step = lower(next);
        decided_ = decidedOutside;
        here_ = outer;
        line_->push_back(std::move(here));
        return step;
    }
    /// One that needs nothing.
    void statement(Expression const & node) { line_->push_back({&node}); }
    /// The one that is being made.
    CountedStatement & here() { return *here_; }
    CountedStatements & ownStatements() { return layout_.bodies.front().statements; }

    /// The way to a link's block; the way past a condition, counted if that does not follow.
    PlanStep const * taken(CountedLink & link, PlanStep const * block);
    PlanStep const * passed(CountedLink & link, Expression const & condition,
                            PlanStep const * next);

    /// Targets of the operand of a `return` or `exit`; `others` are those of values that do not
    /// decide.
    PlanTargets leave(Expression const & node, Expression const & operand, Decided const & decided,
                      PlanTargets const & others);

    /// A call without step of its own, or a node that no step knows. Null for one that is evaluated
    /// as it stands. What cannot be counted so makes `fits` false.
    PlanStep const * node(Expression const & node, PlanTargets const & targets, bool & fits);
    bool & fits() { return fits_; }

    /// Of a callee that is inlined. Where that fails everything goes back to how it was.
    CountedBody inlined(FunctionCallExpression const & call);
    PlanStep const * counted(Expression const & node, U32 counter, PlanStep const * next);
    std::deque<CountedBody> & bodies() { return layout_.bodies; }

    /// Says for as long as it lives which values of the condition that is made next decide.
    class Deciding {
    public:
        /// Does nothing without counting.
        template <typename Change>
        Deciding(PlanCounting * counting, Change change) : counting_(counting) {
            if (counting_ != nullptr) {
                outer_ = counting_->decided_;
                counting_->decided_ = change(outer_);
            }
        }
        Deciding(Deciding const &) = delete;
        Deciding & operator=(Deciding const &) = delete;
        ~Deciding() {
            if (counting_ != nullptr) {
                counting_->decided_ = outer_;
            }
        }

    private:
        PlanCounting * counting_;
        Decided outer_;
    };
    Decided const & decided() const { return decided_; }
    /// The counters of the `return` or `exit` around what is made; around an operand alone.
    DeciderCounters enclosingIs(DeciderCounters const & enclosing) {
        return std::exchange(enclosing_, enclosing);
    }

private:
    PlanStep const * end(EvalResult result, CountedEnd::By by, DeciderCounters const & counters);
    PlanStep const * callStep(FunctionCallExpression const & call, PlanTargets const & targets);
    PlanStep const * observedPlan();
    bool mayExit(Expression const & node);

    Function const & function_;
    CountLayout & layout_;
    PlanSteps & steps_;
    DeciderCounters ended_; ///< of the function's end
    DeciderCounters enclosing_;
    CountedStatements * line_ = nullptr;
    CountedStatement * here_ = nullptr;
    Decided decided_ = {};
    bool fits_ = true;
    std::unordered_map<AetNodeBase const *, bool> mayExit_;
};

/// All values decide, and leave with that termination.
Decided decidedBy(TerminationFlag how);

} // namespace Qcf::Eval
