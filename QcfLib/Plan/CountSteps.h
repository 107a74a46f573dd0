#pragma once

#include "QcfLib/Plan/CountLayout.h"
#include "QcfLib/Plan/PlanStep.h"

#include <array>

/// The steps and ends that only counting plans have. What they count is the context's; what it
/// means stands in the plan's layout.
namespace Qcf::Eval {

/// By the value of a condition, in the order of TriStateBoolValue.
template <typename T>
using ByValue = std::array<T, 3>;
constexpr std::size_t indexOf(TriStateBoolValue value) { return static_cast<std::size_t>(value); }

/// One more has come along here. It hands on to the step behind it: a small plan feels each turn of
/// the loop of a run.
class CountStep final : public PlanStep {
public:
    CountStep(U32 counter, PlanStep const * next) : counter_(counter), next_(next) {}
    PlanStep const * run(PlanRun run) const override {
        run.context().counters().count(counter_);
        return next_->run(run);
    }
    StepText describe() const override { return {"count", "", {{"then", next_}}}; }

private:
    U32 counter_;
    PlanStep const * next_;
};

/// The same before an end, which does nothing.
class CountAtEndStep final : public PlanStep {
public:
    CountAtEndStep(U32 counter, PlanStep const * end) : counter_(counter), end_(end) {}
    PlanStep const * run(PlanRun run) const override {
        run.context().counters().count(counter_);
        return end_;
    }
    StepText describe() const override { return {"count", "", {{"then", end_}}}; }

private:
    U32 counter_;
    PlanStep const * end_;
};

/// An evaluation begins, on a context that may not have room for the plan's counters yet.
class EnterStep final : public PlanStep {
public:
    EnterStep(U32 end, U32 counter, PlanStep const * next)
        : end_(end), counter_(counter), next_(next) {}
    PlanStep const * run(PlanRun run) const override {
        run.context().counters().reserve(end_);
        run.context().counters().count(counter_);
        return next_;
    }
    StepText describe() const override { return {"count evaluations", "", {{"then", next_}}}; }

private:
    U32 end_;
    U32 counter_;
    PlanStep const * next_;
};

/// An end that knows what brought the run there. A call that does not hand its callee's answer on
/// takes it back from what decided that.
class CountedEnd final : public PlanStep {
public:
    enum class By : U8 {
        functionEnd, ///< no `return` or `exit`
        statement,   ///< one of them
        call,        ///< what the last call left in the context's counters
    };
    CountedEnd(EvalResult result, By by, U32 discounted)
        : PlanStep(result), by_(by), discounted_(discounted) {}

    PlanStep const * run(PlanRun /*run*/) const override { return this; }
    StepText describe() const override { return endOfRun(result())->describe(); }

    bool isByStatement() const { return by_ != By::functionEnd; }
    /// The counter of what is taken back.
    U32 discounted(ContextCounters const & counters) const {
        return by_ == By::call ? counters.decider() : discounted_;
    }

private:
    By by_;
    U32 discounted_;
};

/// A call on a frame of its own. It runs its callee's plan itself, so that it learns what decided
/// the answer.
class CountedCall final : public PlanStep {
public:
    struct Ways {
        PlanTargets targets;
        /// Where the answer of the callee is that of this function, and what decided the one
        /// decided the other; else null.
        ByValue<PlanStep const *> handsOn;
        ByValue<PlanStep const *> exits;       ///< by an `exit` of the callee
        ByValue<PlanStep const *> exitsAnyhow; ///< by something else in it
        U32 exitedAnyhow;                      ///< the counter of that
    };
    CountedCall(FunctionCallExpression const & call, Ways const & ways)
        : call_(call), ways_(ways) {}
    PlanStep const * run(PlanRun run) const override;
    StepText describe() const override { return {"call", "", ways_.targets.texts()}; }

private:
    PlanStep const * next(CountedEnd const & end, ContextCounters & counters) const;

    FunctionCallExpression const & call_;
    Ways ways_;
};

/// A whole function that is walked, and counted by looking on.
class ObservedBody final : public PlanStep {
public:
    /// Ends by value and termination, for what a statement decided and for what none did.
    using Ends = std::array<ByValue<PlanStep const *>, 3>;

    ObservedBody(Function const & function, CountLayout const & layout, Ends const & byStatement,
                 Ends const & byNone);
    PlanStep const * run(PlanRun run) const override;
    StepText describe() const override { return {"function that is walked"}; }

private:
    class Observer;
    using Place = std::pair<Function const *, Expression const *>;
    struct PlaceHash {
        std::size_t operator()(Place const & place) const {
            return std::hash<void const *>()(place.first) * 31 +
                   std::hash<void const *>()(place.second);
        }
    };
    ObservedNode const & at(Function const & function, Expression const & node) const {
        return *places_.at({&function, &node});
    }

    Function const & function_;
    Ends byStatement_;
    Ends byNone_;
    std::unordered_map<Place, ObservedNode const *, PlaceHash> places_;
};

} // namespace Qcf::Eval
