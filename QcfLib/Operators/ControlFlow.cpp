#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Hash.h"
#include "QcfLib/Nodes/NodeContract.h"
#include "QcfLib/Plan/Plan.h"
#include "QcfLib/QcfEval.h"
#include "QcfLib/QcfLibHelpers.h"

/// Evaluation of functions and control flow.
namespace Qcf::Eval {

namespace {

void logResult(Ptr<EvalContextBase> const & context, AetNodeBase const & node,
               EvalResult const & result) {
    if (context->shouldLogEval()) [[unlikely]] {
        evalContext(context).log(node.aetNodeKey(), result);
    }
}

EvalResult evalLogged(Expression const & expression, Ptr<EvalContextBase> const & context) {
    EvalResult const result = expression.eval(context);
    logResult(context, expression, result);
    return result;
}

/// Whether anybody looks on. Evaluations that nobody looks at log and trace nothing; they are the
/// rule, and take the short way through a node.
bool isObserved(Ptr<EvalContextBase> const & context) {
    return context->shouldLogEval() || traceQcfEval.on(1);
}

} // namespace

EvalResult Block::eval(Ptr<EvalContextBase> const & context) const {
    assertWalkable(*this);
    bool const logs = context->shouldLogEval();
    for (auto const * link = stmts_.get(); link != nullptr; link = link->next().get()) {
        auto const & statement = *link->entry();
        EvalResult const result = logs ? evalLogged(statement, context) : statement.eval(context);
        if (result.terminates()) {
            return result;
        }
    }
    return {};
}

namespace {

void traceStart(Function const & function) {
    QCF_TRACE(traceQcfEval, 1, "Evaluating function " << function.funcName());
}

// Here and below, rare ways are kept out of line: their texts would cost every evaluation
// registers.

/// A function that expects arguments was evaluated without a caller.
[[gnu::noinline]] EvalResult refused(Function const & function,
                                     Ptr<EvalContextBase> const & context) {
    traceStart(function);
    auto const refusal = EvalResult::fromBoolWithReturn(false);
    logResult(context, function, refusal);
    return refusal;
}

[[gnu::noinline]] EvalResult observedBody(Function const & function,
                                          Ptr<EvalContextBase> const & context) {
    traceStart(function);
    EvalResult const result = evalLogged(*function.body(), context);
    logResult(context, function, result);
    return result;
}

/// What a function yields of its body's result; a true one hands the route's changes back.
EvalResult ended(EvalContext & context, EvalResult result) {
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
            return refused(function, context);
        }
        c.evaluatedFunctionIs(function);
    }
    return ended(c, isObserved(context) ? observedBody(function, context)
                    : Plan::enabled()   ? function.planFor(function).run(context).result()
                                        : function.body()->eval(context));
}

} // namespace

EvalResult Function::eval(Ptr<EvalContextBase> const & context) const {
    auto & c = evalContext(context);
    // An agent's next route by the same function: what there is to find out, is found out.
    bool const isNext =
        c.functionCallDepth() == 0 && c.isEvaluatedFunction(*this) && !isObserved(context);
    Plan const * const plan = keptPlan();
    if (isNext && plan != nullptr && plan->isCurrent()) [[likely]] {
        PlanStep const & end = plan->run(context);
        if (end.result().isTrue()) {
            c.flushModifiedAttributes();
        }
        return end.returned();
    }
    return isNext && !Plan::enabled() ? ended(c, body_->eval(context))
                                      : evalAtLength(*this, context);
}

U32 Function::hash(U32 seed) const {
    if (cachedHashValueSet()) {
        return cachedHashValue();
    }
    assertWalkable(*this);
    cachedHashValueSetIs(true);
    Hash hash(seed);
    hash.hashMix(typeData().typeCode);
    contract::mixChild(hash, body_.get());
    hash.hashMix(argumentsExpected_);
    cachedHashValueIs(hash.result());
    return cachedHashValue();
}

namespace {

[[gnu::noinline]] EvalResult observedIf(IfExpression const & node,
                                        Ptr<EvalContextBase> const & context) {
    EvalResult const condition = evalLogged(*node.condition(), context);
    QCF_TRACE(traceQcfEval, 1,
              "Evaluating IfExpression, condition evaluated to " << condition.retVal());
    assertNoReturn(condition);
    if (condition.terminates()) {
        return condition;
    }
    EvalResult result = condition;
    if (condition.isTrue()) {
        result = evalLogged(*node.thenBlock(), context);
    } else if (node.elseBlock()) {
        result = evalLogged(*node.elseBlock(), context);
    }
    logResult(context, node, condition);
    return result;
}

template <typename Node>
[[gnu::noinline]] EvalResult observedOperand(Node const & node, char const * name,
                                             Ptr<EvalContextBase> const & context) {
    EvalResult const result = evalLogged(*node.expr(), context);
    logResult(context, node, result);
    QCF_TRACE(traceQcfEval, 1, name << " returning " << result.retVal());
    return result;
}

/// What `return` and `exit` make of their operand's result: an exit inside the operand wins.
template <typename Node>
EvalResult terminated(Node const & node, char const * name, TerminationFlag flag,
                      Ptr<EvalContextBase> const & context) {
    assertWalkable(node);
    EvalResult const result =
        isObserved(context) ? observedOperand(node, name, context) : node.expr()->eval(context);
    assertNoReturn(result);
    return result.terminates() ? result : result.with(flag);
}

} // namespace

EvalResult IfExpression::eval(Ptr<EvalContextBase> const & context) const {
    assertWalkable(*this);
    if (isObserved(context)) [[unlikely]] {
        return observedIf(*this, context);
    }
    EvalResult const condition = condition_->eval(context);
    if (condition.terminates()) [[unlikely]] {
        assertNoReturn(condition);
        return condition;
    }
    if (condition.isTrue()) {
        return thenBlock_->eval(context);
    }
    return elseBlock_ ? elseBlock_->eval(context) : condition;
}

EvalResult NotExpression::eval(Ptr<EvalContextBase> const & context) const {
    assertWalkable(*this);
    EvalResult const result = evalLogged(*expr_, context);
    assertNoReturn(result);
    return result.terminates() ? result : EvalResult::fromBool(!result.isTrue());
}

EvalResult ReturnExpression::eval(Ptr<EvalContextBase> const & context) const {
    return terminated(*this, "ReturnExpression", TerminationFlag::returnToCaller, context);
}

EvalResult ExitExpression::eval(Ptr<EvalContextBase> const & context) const {
    return terminated(*this, "ExitExpression", TerminationFlag::exitToPoa, context);
}

EvalResult TriStateBoolExpression::eval(Ptr<EvalContextBase> const & context) const {
    return EvalResult(expr_->getVal(context));
}

} // namespace Qcf::Eval
