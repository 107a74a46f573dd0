#include "QcfLib/QcfEval.h"
#include "QcfLib/QcfLibHelpers.h"

namespace Qcf::Eval {

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
EvalResult SequentialOperator::maybeCastUnknownToFalse(EvalResult const & result) const {
    return result;
}

namespace {

/// Walks the operator nodes for the log alone; it stops at the last one.
class OperatorCursor {
public:
    OperatorCursor(LogicalOperatorList const & list, Ptr<EvalContextBase> const & context)
        : link_(&list), context_(context) {}

    void log(EvalResult const & result) const {
        evalContext(context_).log(link_->entry()->aetNodeKey(), result);
    }
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

namespace {

EvalResult loggedOperands(LogicalOperatorExpression const & node,
                          Ptr<EvalContextBase> const & context) {
    LogicalOperator const & op = *node.operatorList()->entry();
    OperatorCursor cursor(*node.operatorList(), context);
    EvalResult result;
    U32 position = 1;
    for (auto const * link = node.expressionList().get(); link != nullptr;
         link = link->next().get()) {
        if (position >= 3) {
            cursor.log(result);
            cursor.advance();
        }
        result = link->entry()->eval(context);
        evalContext(context).log(link->entry()->aetNodeKey(), result);
        assertNoReturn(result);
        if (result.terminates()) {
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
    result = op.maybeCastUnknownToFalse(result);
    cursor.log(result);
    return result;
}

} // namespace

EvalResult LogicalOperatorExpression::eval(Ptr<EvalContextBase> const & context) const {
    assertWalkable(*this);
    if (context->shouldLogEval()) [[unlikely]] {
        return loggedOperands(*this, context);
    }
    LogicalOperator const & op = *operatorList_->entry();
    EvalResult result;
    for (auto const * link = expressionList_.get(); link != nullptr; link = link->next().get()) {
        result = link->entry()->eval(context);
        if (result.terminates()) [[unlikely]] {
            assertNoReturn(result);
            return result;
        }
        if (op.shouldShortCircuit(result)) {
            break;
        }
    }
    return op.maybeCastUnknownToFalse(result);
}

} // namespace Qcf::Eval
