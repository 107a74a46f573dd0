#include "QcfLib/QcfEval.h"

/// Sanity checks and dumps of functions and control flow.
namespace Qcf::Eval {

namespace {

bool statementsAreSane(ExpressionList const * link, FunctionMetadata const & metadata) {
    for (; link != nullptr; link = link->next().get()) {
        if (!link->entry()->verifySanity(metadata)) {
            return false;
        }
    }
    return true;
}

bool operandIsSane(char const * className, Expression const & operand,
                   FunctionMetadata const & metadata) {
    bool const sane = operand.verifySanity(metadata);
    QCF_TRACE(traceQcfEval, 2, className << ": exprSane=" << sane);
    return sane;
}

} // namespace

bool Function::verifySanity(FunctionMetadata const & metadata) const {
    return statementsAreSane(body_->stmts().get(), metadata);
}

bool Block::verifySanity(FunctionMetadata const & metadata) const {
    return statementsAreSane(stmts_.get(), metadata);
}

bool IfExpression::verifySanity(FunctionMetadata const & metadata) const {
    bool const conditionSane = condition_->verifySanity(metadata);
    bool const thenSane = statementsAreSane(thenBlock_->stmts().get(), metadata);
    bool const elseSane = !elseBlock_ || elseBlock_->verifySanity(metadata);
    QCF_TRACE(traceQcfEval, 2,
              "IfExpression: conditionSane=" << conditionSane << " thenSane=" << thenSane
                                             << " elseSane=" << elseSane);
    return conditionSane && thenSane && elseSane;
}

bool NotExpression::verifySanity(FunctionMetadata const & metadata) const {
    return operandIsSane("NotExpression", *expr_, metadata);
}
bool ReturnExpression::verifySanity(FunctionMetadata const & metadata) const {
    return operandIsSane("ReturnExpression", *expr_, metadata);
}
bool ExitExpression::verifySanity(FunctionMetadata const & metadata) const {
    return operandIsSane("ExitExpression", *expr_, metadata);
}
bool LogicalOperatorExpression::verifySanity(FunctionMetadata const & metadata) const {
    return statementsAreSane(expressionList_.get(), metadata);
}

} // namespace Qcf::Eval
