#include "QcfLib/QcfEval.h"

#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Hash.h"
#include "QcfLib/NodeContract.h"
#include "QcfLib/Plan.h"

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

/// A tree that lets `return` stand in an operand's place is malformed.
void assertNoReturn(EvalResult const & result) {
    QCF_ASSERT_TEXT(result.termination() != TerminationFlag::returnToCaller, "false");
}

/// What `return` and `exit` make of their operand's result: an exit inside the operand wins.
EvalResult terminated(EvalResult const & result, TerminationFlag flag) {
    assertNoReturn(result);
    return result.terminates() ? result : result.with(flag);
}

} // namespace

EvalResult Block::eval(Ptr<EvalContextBase> const & context) const {
    for (auto const * link = stmts_.get(); link != nullptr; link = link->next().get()) {
        EvalResult const result = evalLogged(*link->entry(), context);
        if (result.terminates()) {
            return result;
        }
    }
    return {};
}

EvalResult Function::eval(Ptr<EvalContextBase> const & context) const {
    QCF_TRACE(traceQcfEval, 1, "Evaluating function " << funcName());
    auto & c = evalContext(context);
    bool const outermost = c.functionCallDepth() == 0;
    if (outermost) {
        c.evaluatedFunctionIs(*this);
        if (argumentsExpected_) [[unlikely]] {
            auto const refusal = EvalResult::fromBoolWithReturn(false);
            logResult(context, *this, refusal);
            return refusal;
        }
    }
    bool const walksTree = c.shouldLogEval() || traceQcfEval.on(1) || !Plan::enabled();
    EvalResult result = walksTree ? evalLogged(*body_, context) : planFor(*this).run(context);
    if (walksTree) {
        logResult(context, *this, result);
    }
    if (result.termination() == TerminationFlag::returnToCaller) [[likely]] {
        result = result.with(TerminationFlag::noTermination);
    } else if (!result.terminates()) {
        QCF_ASSERT(result.retVal() == QcfUnknown());
        return result;
    }
    if (outermost && result.isTrue()) {
        c.flushModifiedAttributes();
    }
    return result;
}

U32 Function::hash(U32 seed) const {
    if (cachedHashValueSet()) {
        return cachedHashValue();
    }
    cachedHashValueSetIs(true);
    Hash hash(seed);
    hash.hashMix(typeData().typeCode);
    contract::mixChild(hash, body_.get());
    hash.hashMix(argumentsExpected_);
    cachedHashValueIs(hash.result());
    return cachedHashValue();
}

EvalResult IfExpression::eval(Ptr<EvalContextBase> const & context) const {
    EvalResult const condition = evalLogged(*condition_, context);
    QCF_TRACE(traceQcfEval, 1,
              "Evaluating IfExpression, condition evaluated to " << condition.retVal());
    assertNoReturn(condition);
    if (condition.terminates()) {
        return condition;
    }
    EvalResult result = condition;
    if (condition.isTrue()) {
        result = evalLogged(*thenBlock_, context);
    } else if (elseBlock_) {
        result = evalLogged(*elseBlock_, context);
    }
    logResult(context, *this, condition);
    return result;
}

EvalResult NotExpression::eval(Ptr<EvalContextBase> const & context) const {
    EvalResult const result = evalLogged(*expr_, context);
    assertNoReturn(result);
    return result.terminates() ? result : EvalResult::fromBool(!result.isTrue());
}

EvalResult ReturnExpression::eval(Ptr<EvalContextBase> const & context) const {
    EvalResult const result = evalLogged(*expr_, context);
    logResult(context, *this, result);
    QCF_TRACE(traceQcfEval, 1, "ReturnExpression returning " << result.retVal());
    return terminated(result, TerminationFlag::returnToCaller);
}

EvalResult ExitExpression::eval(Ptr<EvalContextBase> const & context) const {
    EvalResult const result = evalLogged(*expr_, context);
    logResult(context, *this, result);
    QCF_TRACE(traceQcfEval, 1, "ExitExpression returning " << result.retVal());
    return terminated(result, TerminationFlag::exitToPoa);
}

EvalResult TriStateBoolExpression::eval(Ptr<EvalContextBase> const & context) const {
    return EvalResult(expr_->getVal(context));
}

} // namespace Qcf::Eval
