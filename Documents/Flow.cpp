#include "Documents/Flow.h"

#include "Documents/ConstantAnswer.h"

/// Each class says for itself how it leaves; what is not named here evaluates its operands and goes
/// on.
namespace Qcf::Documents {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

Flow FlowAnalysis::of(Expression const & node) {
    auto const known = known_.find(&node);
    if (known != known_.end()) {
        return known->second;
    }
    Flow const flow = workOut(node);
    known_.emplace(&node, flow);
    return flow;
}

Flow FlowAnalysis::workOut(Expression const & node) {
    if (auto const * const block = as<Block>(node)) {
        return ofBlock(*block);
    }
    if (auto const * const branch = as<IfExpression>(node)) {
        return ofIf(*branch);
    }
    // A return whose operand exits never comes to return.
    if (auto const * const leave = as<ReturnExpression>(node)) {
        return {.completes = false, .returns = of(*leave->expr()).completes};
    }
    // An exit passes over the function that it stands in, and is none of its returns.
    if (is<ExitExpression>(node)) {
        return {.completes = false, .returns = false};
    }
    if (auto const * const negation = as<NotExpression>(node)) {
        return of(*negation->expr());
    }
    // Operators may stop behind the first operand: only that one is surely evaluated.
    if (auto const * const chain = as<LogicalOperatorExpression>(node)) {
        return chain->expressionList() ? of(*chain->expressionList()->entry()) : Flow();
    }
    // A return ends the callee, not the caller.
    if (auto const * const call = as<FunctionCallExpression>(node)) {
        Flow const callee = of(*call->calleePtr()->body());
        return {.completes = callee.completes || callee.returns, .returns = false};
    }
    // Of the other nodes only the bodies of built-in functions leave.
    bool const returns = node.typeData().facts.returns;
    return {.completes = !returns, .returns = returns};
}

// Statements behind one that always leaves say nothing of the block.
Flow FlowAnalysis::ofBlock(Block const & block) {
    Flow flow;
    for (auto const * link = block.stmts().get(); link != nullptr && flow.completes;
         link = link->next().get()) {
        Flow const statement = of(*link->entry());
        flow.completes = statement.completes;
        flow.returns = flow.returns || statement.returns;
    }
    return flow;
}

Flow FlowAnalysis::ofIf(IfExpression const & node) {
    if (!of(*node.condition()).completes) {
        return {.completes = false, .returns = false};
    }
    // A branch that is never taken says nothing of how evaluation leaves.
    auto const answer = constantAnswer(*node.condition());
    Flow const taken = of(*node.thenBlock());
    // Without an else the other way does nothing and goes on.
    Flow const other = node.elseBlock() ? of(*node.elseBlock()) : Flow();
    if (answer) {
        return *answer ? taken : other;
    }
    return {.completes = taken.completes || other.completes,
            .returns = taken.returns || other.returns};
}

} // namespace Qcf::Documents
