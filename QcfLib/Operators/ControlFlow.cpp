#include "QcfLib/Operators/Lowering.h"
#include "QcfLib/Operators/WatchedEvaluation.h"
#include "QcfLib/QcfLibHelpers.h"

/// Blocks, branches, and what leaves them. Each node logs its operands' results before its own, so
/// that a log reads in the order of evaluation, callees inside calls.
namespace Qcf::Eval {

// What a statement yields is of no interest, unless it leaves: a block without a `return` decides
// nothing, and that is what unknown says.
EvalResult Block::eval(Ptr<EvalContextBase> const & context) const {
    assertWalkable(*this);
    for (auto const * link = stmts_.get(); link != nullptr; link = link->next().get()) {
        EvalResult const result = evalPart(*link->entry(), context);
        if (result.terminates()) {
            return result;
        }
    }
    return {};
}
void Block::lower(Lowering & to) const { to.block(*this); }

// Unknown counts as false. The node's own record has the condition's value and not that of the
// branch, which has a record of its own: so one sees which way was taken.
EvalResult IfExpression::eval(Ptr<EvalContextBase> const & context) const {
    assertWalkable(*this);
    EvalResult const condition = evalPart(*condition_, context);
    QCF_TRACE(traceQcfEval, 1,
              "Evaluating IfExpression, condition evaluated to " << condition.retVal());
    assertNoReturn(condition);
    if (condition.terminates()) {
        return condition;
    }
    EvalResult result = condition;
    if (condition.isTrue()) {
        result = evalPart(*thenBlock_, context);
    } else if (elseBlock_) {
        result = evalPart(*elseBlock_, context);
    }
    logResult(context, *this, condition);
    return result;
}
void IfExpression::lower(Lowering & to) const { to.branch(*this); }

// Both false and unknown become true: what is not known to hold, does not hold.
EvalResult NotExpression::eval(Ptr<EvalContextBase> const & context) const {
    assertWalkable(*this);
    EvalResult const result = evalPart(*expr_, context);
    assertNoReturn(result);
    return result.terminates() ? result : EvalResult::fromBool(!result.isTrue());
}
void NotExpression::lower(Lowering & to) const { to.negation(*expr_); }

namespace {

/// What `return` and `exit` make of their operand's result: an exit inside the operand wins.
template <typename Node>
EvalResult leaveBy(Node const & node, TerminationFlag flag, Ptr<EvalContextBase> const & context) {
    assertWalkable(node);
    EvalResult const result = evalPart(*node.expr(), context);
    logResult(context, node, result);
    QCF_TRACE(traceQcfEval, 1, node.typeData().name << " returning " << result.retVal());
    assertNoReturn(result);
    return result.terminates() ? result : result.with(flag);
}

} // namespace

EvalResult ReturnExpression::eval(Ptr<EvalContextBase> const & context) const {
    return leaveBy(*this, TerminationFlag::returnToCaller, context);
}
void ReturnExpression::lower(Lowering & to) const {
    to.leave(*expr_, TerminationFlag::returnToCaller);
}

EvalResult ExitExpression::eval(Ptr<EvalContextBase> const & context) const {
    return leaveBy(*this, TerminationFlag::exitToPoa, context);
}
void ExitExpression::lower(Lowering & to) const { to.leave(*expr_, TerminationFlag::exitToPoa); }

EvalResult TriStateBoolExpression::eval(Ptr<EvalContextBase> const & context) const {
    return EvalResult(expr_->getVal(context));
}
void TriStateBoolExpression::lower(Lowering & to) const {
    if (auto const * const constant = as<TriStateBoolImmediate>(*expr_)) {
        to.truth(constant->value());
    } else {
        to.valueTest(*expr_);
    }
}

} // namespace Qcf::Eval
