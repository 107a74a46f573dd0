#include "Platform/Framework/Assert.h"
#include "QcfLib/Nodes/NodeTexts.h"
#include "QcfLib/QcfEval.h"

/// Functions, control flow, logical operators and calls as source-like text.
namespace Qcf::Eval {

// The address tells functions of one name apart, and a call which of them it calls.
void Function::dumpState(PtrConst<DumpContext> const & dumpContext, U32 indent) const {
    assertWalkable(*this);
    dumpIndent(dumpContext, indent);
    dumpContext->print("QCF Function %s, features=<%s>\n", funcName().c_str(),
                       features().toStrep().c_str());
    dumpIndent(dumpContext, indent);
    dumpContext->print("function %s@%p() {\n", funcName().c_str(), static_cast<void const *>(this));
    // A function whose body is null is dumped like an empty one.
    if (body_) {
        body_->dumpState(dumpContext, indent + 2);
    }
    dumpIndent(dumpContext, indent);
    dumpContext->print("}\n");
}

// By loop: a block may have any number of statements.
void Block::dumpState(PtrConst<DumpContext> const & dumpContext, U32 indent) const {
    assertWalkable(*this);
    for (auto const * link = stmts_.get(); link != nullptr; link = link->next().get()) {
        link->entry()->dumpState(dumpContext, indent + 2);
        dumpIndent(dumpContext, indent);
        dumpContext->print("\n");
    }
}

void IfExpression::dumpState(PtrConst<DumpContext> const & dumpContext, U32 indent) const {
    assertWalkable(*this);
    dumpIndent(dumpContext, indent);
    dumpContext->print("if ");
    condition_->dumpState(dumpContext, 0);
    dumpContext->print(" {\n");
    thenBlock_->dumpState(dumpContext, indent + 2);
    if (elseBlock_) {
        dumpIndent(dumpContext, indent);
        dumpContext->print("} else {\n");
        elseBlock_->dumpState(dumpContext, indent + 2);
    }
    dumpIndent(dumpContext, indent);
    dumpContext->print("}");
}

void NotExpression::dumpState(PtrConst<DumpContext> const & dumpContext, U32 indent) const {
    assertWalkable(*this);
    dumpIndent(dumpContext, indent);
    dumpContext->print("( not ");
    expr_->dumpState(dumpContext, 0);
    dumpContext->print(" )");
}

// On one line with its operand, hence without an indent of that.
void ReturnExpression::dumpState(PtrConst<DumpContext> const & dumpContext, U32 indent) const {
    assertWalkable(*this);
    dumpIndent(dumpContext, indent);
    dumpContext->print("return ");
    expr_->dumpState(dumpContext, 0);
}

void ExitExpression::dumpState(PtrConst<DumpContext> const & dumpContext, U32 indent) const {
    assertWalkable(*this);
    dumpIndent(dumpContext, indent);
    dumpContext->print("exit ");
    expr_->dumpState(dumpContext, 0);
}

// A value in a statement's place: its own text, which is short.
void TriStateBoolExpression::dumpState(PtrConst<DumpContext> const & dumpContext,
                                       U32 indent) const {
    dumpIndent(dumpContext, indent);
    dumpContext->print("%s", expr_->toStrep().c_str());
}

void LogicalOperatorExpression::dumpState(PtrConst<DumpContext> const & dumpContext,
                                          U32 indent) const {
    assertWalkable(*this);
    dumpIndent(dumpContext, indent);
    dumpContext->print("( ");
    auto const * operand = expressionList_.get();
    // A chain of n operands has n - 1 operators; anything else is malformed and ends the process.
    auto const * op = operatorList_.get();
    QCF_ASSERT(nullptr != op && "There MUST be at least one operator");
    QCF_ASSERT_TEXT(operand != nullptr, "nullptr == expr && nullptr == op");
    operand->entry()->dumpState(dumpContext, 0);
    auto const * expr = operand->next().get();
    QCF_ASSERT_TEXT(expr != nullptr, "nullptr == expr && nullptr == op");
    // Operands and operators are two chains, walked side by side.
    for (; expr != nullptr && op != nullptr; expr = expr->next().get(), op = op->next().get()) {
        dumpContext->print(" %s ", op->entry()->toStrep().c_str());
        expr->entry()->dumpState(dumpContext, 0);
    }
    // One of them is longer: malformed.
    QCF_ASSERT(nullptr == expr && nullptr == op);
    dumpContext->print(" )");
}

// The callee is named, not dumped: it may be large, shared, and has a dump of its own.
void FunctionCallExpression::dumpState(PtrConst<DumpContext> const & dumpContext,
                                       U32 indent) const {
    dumpIndent(dumpContext, indent);
    dumpContext->print("%s@%p(%s)", calleeName_.c_str(),
                       static_cast<void const *>(calleePtr_.get()),
                       argListHead_ ? argListHead_->toStrep().c_str() : "");
}

// Lines of its own, each with its label even where there is nothing to show.
void IntInImmediateSetWithRanges::dumpState(PtrConst<DumpContext> const & dumpContext,
                                            U32 indent) const {
    auto const textOrNothing = [](StorageType const * node) {
        return node != nullptr ? node->toStrep() : String();
    };
    auto const line = [&](char const * label, StorageType const * node) {
        dumpIndent(dumpContext, indent);
        dumpContext->print("%s: %s\n", label, textOrNothing(node).c_str());
    };
    dumpIndent(dumpContext, indent);
    dumpContext->print(" %s InImmediateSetWithRanges\n", lhs_->toStrep().c_str());
    line("singleton values", singletons_.get());
    line("lower bound range values", lowerBounds_.get());
    line("upper bound range values", upperBounds_.get());
}

} // namespace Qcf::Eval
