#include "QcfLib/Operators/LoggedEvaluation.h"
#include "QcfLib/Plan.h"
#include "QcfLib/Plan/PlanStep.h"
#include "QcfLib/QcfEval.h"

/// How a function runs: by its plan, unless somebody looks on.
namespace Qcf::Eval {

namespace {

/// Whether the evaluation is logged or traced, which the tree alone can be.
bool isObserved(Ptr<EvalContextBase> const & context) {
    return context->shouldLogEval() || traceQcfEval.on(1);
}

// What is rare is kept out of line: its texts would cost every evaluation registers.

[[gnu::noinline]] void traceStart(Function const & function) {
    QCF_TRACE(traceQcfEval, 1, "Evaluating function " << function.funcName());
}

/// A function that expects arguments was evaluated without a caller.
EvalResult refuse(Function const & function, Ptr<EvalContextBase> const & context) {
    traceStart(function);
    auto const refusal = EvalResult::fromBoolWithReturn(false);
    logResult(context, function, refusal);
    return refusal;
}

EvalResult walkBody(Function const & function, Ptr<EvalContextBase> const & context) {
    traceStart(function);
    EvalResult const result = evalLogged(*function.body(), context);
    logResult(context, function, result);
    return result;
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

/// An evaluation that may be the first one, observed, refused, or inside a call.
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
    if (isObserved(context) || !Plan::enabled()) {
        return finish(c, walkBody(function, context));
    }
    Plan const & plan = function.planFor(function);
    return finish(c, runSteps(&plan.first(), PlanRun(context)).result());
}

} // namespace

EvalResult Function::eval(Ptr<EvalContextBase> const & context) const {
    auto & c = evalContext(context);
    // An agent's next route by the same function: what there is to find out, is found out.
    bool const isNext =
        c.functionCallDepth() == 0 && c.isEvaluatedFunction(*this) && !isObserved(context);
    Plan const * const plan = keptPlan();
    if (isNext && plan != nullptr && plan->isCurrent()) [[likely]] {
        PlanStep const & end = runSteps(&plan->first(), PlanRun(context));
        if (end.result().isTrue()) {
            c.flushModifiedAttributes();
        }
        return end.returned();
    }
    return evalAtLength(*this, context);
}

} // namespace Qcf::Eval
