#include "QcfLib/Operators/Lowering.h"
#include "QcfLib/Operators/WatchedEvaluation.h"
#include "QcfLib/QcfLibHelpers.h"

/// The operators between conditions, and the chains that they join.
namespace Qcf::Eval {

// Operators have no fields: their class is all that they say.
bool LogicalOperator::compare(PtrConst<AetNodeBase> const & other) const {
    return other && other->typeData().isSameClass(typeData());
}

U32 LogicalOperator::hash(U32 seed) const {
    Hash hash(seed);
    hash.hashMix(typeData().typeCode);
    return hash.result();
}

EvalResult LogicalOperator::maybeCastUnknownToFalse(EvalResult const & result) const {
    return result.retVal() == QcfUnknown() ? EvalResult::fromBool(false) : result;
}

String AndOperator::toStrep() const { return "and"; }
bool AndOperator::shouldShortCircuit(EvalResult const & result) const {
    return result.retVal() != QcfTrue();
}

String OrOperator::toStrep() const { return "or"; }
bool OrOperator::shouldShortCircuit(EvalResult const & result) const {
    return result.retVal() == QcfTrue();
}

String SequentialOperator::toStrep() const { return "??"; }
bool SequentialOperator::shouldShortCircuit(EvalResult const & result) const {
    return result.retVal() != QcfUnknown();
}
// The one operator that may leave its chain unknown.
EvalResult SequentialOperator::maybeCastUnknownToFalse(EvalResult const & result) const {
    return result;
}

namespace {

/// The operator nodes, which stand between the operands in the log and nowhere else. It stops at
/// the last one.
class OperatorCursor {
public:
    OperatorCursor(LogicalOperatorList const & list, Ptr<EvalContextBase> const & context)
        : link_(&list), context_(context) {}

    void log(EvalResult const & result) const { logResult(context_, *link_->entry(), result); }
    void advance() {
        if (link_->next()) {
            link_ = link_->next().get();
        }
    }

private:
    LogicalOperatorList const * link_;
    Ptr<EvalContextBase> const & context_;
};

} // namespace

// The first operator decides for all of them. Operator n is logged with the result of operand n +
// 1, when the operand behind it is about to be evaluated; the last result goes to the last one.
// That is the order in which keys rise.
EvalResult LogicalOperatorExpression::eval(Ptr<EvalContextBase> const & context) const {
    assertWalkable(*this);
    LogicalOperator const & op = *operatorList_->entry();
    OperatorCursor cursor(*operatorList_, context);
    EvalResult result;
    U32 position = 1;
    for (auto const * link = expressionList_.get(); link != nullptr; link = link->next().get()) {
        if (position >= 3) {
            cursor.log(result);
            cursor.advance();
        }
        result = evalPart(*link->entry(), context);
        assertNoReturn(result);
        if (result.terminates()) {
            // Before the second operand no operator has been reached.
            if (position >= 2) {
                cursor.log(result);
            }
            return result;
        }
        if (op.shouldShortCircuit(result)) {
            break;
        }
        ++position;
    }
    // Of a chain without operands, too, whose result is unknown.
    result = op.maybeCastUnknownToFalse(result);
    cursor.log(result);
    return result;
}
void LogicalOperatorExpression::lower(Lowering & to) const { to.chain(*this); }

} // namespace Qcf::Eval
