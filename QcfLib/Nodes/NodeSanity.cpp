#include "QcfLib/Nodes/SharedAnswers.h"
#include "QcfLib/QcfEval.h"

/// Sanity checks and dumps of functions and control flow.
namespace Qcf::Eval {

namespace {

/// Where the checks are traced, each place of a node has its own trace.
bool isSane(Expression const & node, FunctionMetadata const & metadata) {
    if (traceQcfEval.on(2)) {
        return node.verifySanity(metadata);
    }
    return SharedSanity::of(node, &node, [&] { return node.verifySanity(metadata); });
}

// The first that is not ends it: nobody asks for a list of faults.
bool statementsAreSane(ExpressionList const * link, FunctionMetadata const & metadata) {
    for (; link != nullptr; link = link->next().get()) {
        if (!isSane(*link->entry(), metadata)) {
            return false;
        }
    }
    return true;
}

bool operandIsSane(Expression const & node, Expression const & operand,
                   FunctionMetadata const & metadata) {
    assertWalkable(operand);
    bool const sane = isSane(operand, metadata);
    QCF_TRACE(traceQcfEval, 2, node.typeData().name << ": exprSane=" << sane);
    return sane;
}

} // namespace

bool Function::verifySanity(FunctionMetadata const & metadata) const {
    assertWalkable(*this);
    SharedSanity::Look const look(*this);
    // Through the body's statements and not the body, which asserts nothing more.
    return statementsAreSane(body_->stmts().get(), metadata);
}

bool Block::verifySanity(FunctionMetadata const & metadata) const {
    assertWalkable(*this);
    return statementsAreSane(stmts_.get(), metadata);
}

bool IfExpression::verifySanity(FunctionMetadata const & metadata) const {
    assertWalkable(*this);
    // All three are asked, whatever the first says: the trace shows each.
    bool const conditionSane = isSane(*condition_, metadata);
    bool const thenSane = statementsAreSane(thenBlock_->stmts().get(), metadata);
    bool const elseSane = !elseBlock_ || isSane(*elseBlock_, metadata);
    QCF_TRACE(traceQcfEval, 2,
              "IfExpression: conditionSane=" << conditionSane << " thenSane=" << thenSane
                                             << " elseSane=" << elseSane);
    return conditionSane && thenSane && elseSane;
}

// Of one operand; its answer is traced under the node's own name.
bool NotExpression::verifySanity(FunctionMetadata const & metadata) const {
    return operandIsSane(*this, *expr_, metadata);
}
bool ReturnExpression::verifySanity(FunctionMetadata const & metadata) const {
    return operandIsSane(*this, *expr_, metadata);
}
bool ExitExpression::verifySanity(FunctionMetadata const & metadata) const {
    return operandIsSane(*this, *expr_, metadata);
}
bool LogicalOperatorExpression::verifySanity(FunctionMetadata const & metadata) const {
    assertWalkable(*this);
    return statementsAreSane(expressionList_.get(), metadata);
}

} // namespace Qcf::Eval
