#include "QcfLib/DecidedEvaluation.h"
#include "QcfLib/Operators/WatchedEvaluation.h"
#include "QcfLib/Plan.h"
#include "QcfLib/Plan/CountSteps.h"
#include "QcfLib/Plan/PlanStep.h"
#include "QcfLib/QcfEval.h"

/// How a function runs: by its plan, unless somebody looks on.
namespace Qcf::Eval {

namespace {

/// Whether somebody looks on or the evaluation is traced, for which the tree has to be walked.
bool isLookedOn(Ptr<EvalContextBase> const & context) {
    return context->isWatched() || traceQcfEval.on(1);
}

// What is rare is kept out of line: its texts would cost every evaluation registers.

[[gnu::noinline]] void traceStart(Function const & function) {
    QCF_TRACE(traceQcfEval, 1, "Evaluating function " << function.funcName());
}

/// A function that expects arguments was evaluated without a caller.
EvalResult refuse(Function const & function, Ptr<EvalContextBase> const & context) {
    return observed(function, context, [&] {
        traceStart(function);
        auto const refusal = EvalResult::fromBoolWithReturn(false);
        logResult(context, function, refusal);
        return refusal;
    });
}

/// The body's result, before the eyes of whoever looks on; an observer is told what the function's
/// caller gets.
[[gnu::noinline]] EvalResult walkWatchedBody(Function const & function,
                                             Ptr<EvalContextBase> const & context) {
    EvalResult result;
    observed(function, context, [&] {
        traceStart(function);
        result = evalWatchedPart(*function.body(), context);
        logResult(context, function, result);
        return result.returned();
    });
    return result;
}

EvalResult walkBody(Function const & function, Ptr<EvalContextBase> const & context) {
    if (context->isWatched()) [[unlikely]] {
        return walkWatchedBody(function, context);
    }
    traceStart(function);
    return function.body()->eval(context);
}

/// What a function yields of its body's result; a true one hands the route's changes back.
EvalResult finish(EvalContext & context, EvalResult result) {
    if (!result.terminates()) [[unlikely]] {
        QCF_ASSERT(result.retVal() == QcfUnknown());
        return result;
    }
    if (result.isTrue() && context.functionCallDepth() == 0) {
        context.flushModifiedAttributes();
    }
    return result.returned();
}

/// Counts the next route of a plan that counts; false for any other plan. It is not made a step:
/// the smallest plan takes little more time than that would.
bool countsNext(Plan const & plan, EvalContext & c) {
    ContextCounters & counters = c.counters();
    if (!plan.isCurrentCounting() || !counters.hasRoom(plan.countersEnd())) {
        return false;
    }
    counters.count(plan.entered());
    return true;
}

/// An evaluation that may be the first one, looked on, refused, or inside a call.
[[gnu::noinline]] EvalResult evalAtLength(Function const & function,
                                          Ptr<EvalContextBase> const & context) {
    auto & c = evalContext(context);
    assertWalkable(function);
    if (c.functionCallDepth() == 0) {
        if (function.argumentsExpected()) {
            return refuse(function, context);
        }
        c.evaluatedFunctionIs(function);
    }
    if (isLookedOn(context) || !Plan::enabled()) {
        return finish(c, walkBody(function, context));
    }
    Plan const & plan = function.planFor(function);
    return finish(c, runSteps(&plan.entry(), PlanRun(context)).result());
}

/// Whether it is an agent's next route by the same function: what there is to find out, is found
/// out.
bool isNextRoute(Function const & function, Ptr<EvalContextBase> const & context) {
    auto const & c = evalContext(context);
    return c.functionCallDepth() == 0 && c.isEvaluatedFunction(function) && !isLookedOn(context);
}

} // namespace

// The context is read anew behind the steps: kept over them, it would cost every route a register
// that has to be saved.
EvalResult Function::eval(Ptr<EvalContextBase> const & context) const {
    Plan const * const plan = keptPlan();
    if (isNextRoute(*this, context) && plan != nullptr &&
        (plan->isCurrent() || countsNext(*plan, evalContext(context)))) [[likely]] {
        PlanStep const & end = runSteps(&plan->first(), PlanRun(context));
        if (end.result().isTrue()) {
            evalContext(context).flushModifiedAttributes();
        }
        return end.returned();
    }
    return evalAtLength(*this, context);
}

DecidedEvaluation evalDecided(Function const & function, Ptr<EvalContextBase> const & context) {
    auto & c = evalContext(context);
    // Where a step of the plan keeps room for its counters, that is done before all others run.
    bool const isCounting = StatementCounts::enabled() && Plan::enabled() && !isLookedOn(context);
    if (!isCounting || function.argumentsExpected() || c.functionCallDepth() != 0) {
        return {function.eval(context)};
    }
    Plan const * plan = function.keptPlan();
    if (plan == nullptr || !c.isEvaluatedFunction(function) || !plan->isCurrentCounting()) {
        assertWalkable(function);
        c.evaluatedFunctionIs(function);
        plan = &function.planFor(function);
    }
    PlanStep const & end = runSteps(&plan->entry(), PlanRun(context));
    // Counting may have been switched off since it was asked.
    U32 const decider = plan->countLayout() == nullptr
                            ? DecidedEvaluation::unknown
                            : static_cast<CountedEnd const &>(end).discounted(c.counters());
    return {finish(c, end.result()), decider};
}

} // namespace Qcf::Eval
