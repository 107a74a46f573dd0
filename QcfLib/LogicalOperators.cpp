#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfEval.h"

namespace Qcf::Eval {

EvalResult LogicalOperator::maybeCastUnknownToFalse(EvalResult const & result) const {
    return result.retVal() == QcfUnknown() ? EvalResult::fromBool(false) : result;
}

String AndOperator::toStrep() const { return "and"; }
bool AndOperator::shouldShortCircuit(EvalResult const & result) const { return !result.isTrue(); }

String OrOperator::toStrep() const { return "or"; }
bool OrOperator::shouldShortCircuit(EvalResult const & result) const { return result.isTrue(); }

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

EvalResult LogicalOperatorExpression::eval(Ptr<EvalContextBase> const & context) const {
    LogicalOperator const & op = *operatorList_->entry();
    bool const logging = context->shouldLogEval();
    OperatorCursor cursor(*operatorList_, context);
    EvalResult result;
    U32 position = 1;
    for (auto const * link = expressionList_.get(); link != nullptr; link = link->next().get()) {
        if (logging && position >= 3) {
            cursor.log(result);
            cursor.advance();
        }
        result = link->entry()->eval(context);
        if (logging) {
            evalContext(context).log(link->entry()->aetNodeKey(), result);
        }
        QCF_ASSERT_TEXT(result.termination() != TerminationFlag::returnToCaller, "false");
        if (result.terminates()) {
            if (logging && position >= 2) {
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
    if (logging) {
        cursor.log(result);
    }
    return result;
}

} // namespace Qcf::Eval
