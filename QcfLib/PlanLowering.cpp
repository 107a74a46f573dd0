#include "QcfLib/PlanLowering.h"

#include "QcfLib/Plan.h"

#include <functional>

namespace Qcf::Eval {

namespace {

template <typename Node>
Node const * as(AetNodeBase const & node) {
    bool const same = &node.typeData() == &nodeClasses()[Node::classNumber];
    return same ? static_cast<Node const *>(&node) : nullptr;
}

/// The constant set of a literal; null when it has none.
template <typename Immediate, typename Storage>
auto const * constantSet(Storage const & node) {
    auto const * const immediate = as<Immediate>(node);
    return immediate == nullptr ? nullptr : immediate->cachedGetVal();
}

} // namespace

PlanStep const * PlanLowering::keep(std::unique_ptr<PlanStep const> step) {
    steps_.push_back(std::move(step));
    return steps_.back().get();
}

StepList PlanLowering::statements(Block const & block) {
    StepList statements;
    for (auto const * link = block.stmts().get(); link != nullptr; link = link->next().get()) {
        statements.push_back(expression(*link->entry()));
    }
    return statements;
}

PlanStep const * PlanLowering::block(Block const & block) {
    return make<BlockStep>(statements(block));
}

PlanStep const * PlanLowering::expression(Expression const & node) {
    if (auto const * const n = as<Block>(node)) {
        return block(*n);
    }
    if (auto const * const n = as<IfExpression>(node)) {
        return ifChain(*n);
    }
    if (auto const * const n = as<NotExpression>(node)) {
        return make<NotStep>(expression(*n->expr()));
    }
    if (auto const * const n = as<ReturnExpression>(node)) {
        return termination(*n->expr(), TerminationFlag::returnToCaller);
    }
    if (auto const * const n = as<ExitExpression>(node)) {
        return termination(*n->expr(), TerminationFlag::exitToPoa);
    }
    if (auto const * const n = as<LogicalOperatorExpression>(node)) {
        return logical(*n);
    }
    if (auto const * const n = as<TriStateBoolExpression>(node)) {
        if (auto const * const constant = as<TriStateBoolImmediate>(*n->expr())) {
            return make<ConstantStep>(EvalResult(constant->value()));
        }
    }
    for (auto const lower :
         {&PlanLowering::comparison, &PlanLowering::setTest, &PlanLowering::change}) {
        if (PlanStep const * const step = (this->*lower)(node)) {
            return step;
        }
    }
    return make<NodeStep>(node);
}

PlanStep const * PlanLowering::termination(Expression const & operand, TerminationFlag flag) {
    auto const * const predicate = as<TriStateBoolExpression>(operand);
    if (predicate != nullptr) {
        if (auto const * const constant = as<TriStateBoolImmediate>(*predicate->expr())) {
            return make<ConstantStep>(EvalResult(constant->value(), flag));
        }
    }
    return make<TerminationStep>(expression(operand), flag);
}

PlanStep const * PlanLowering::ifChain(IfExpression const & head) {
    std::vector<IfExpression const *> links;
    std::vector<Expression const *> conditions;
    for (IfExpression const * link = &head; link != nullptr;
         link = link->elseBlock() ? as<IfExpression>(*link->elseBlock()) : nullptr) {
        links.push_back(link);
        conditions.push_back(link->condition().get());
    }
    ChainSharing sharing(conditions);
    auto const * const outer = sharing_;
    std::vector<IfChainStep::Clause> clauses;
    for (IfExpression const * const link : links) {
        sharing_ = sharing.any() ? &sharing : nullptr;
        PlanStep const * const condition = expression(*link->condition());
        sharing_ = nullptr; // a block may change what the conditions read
        clauses.push_back({condition, block(*link->thenBlock())});
    }
    auto const & otherwise = links.back()->elseBlock();
    PlanStep const * const elseBlock = otherwise ? expression(*otherwise) : nullptr;
    sharing_ = outer;
    bool const usesMemo = sharing.any();
    sharing.moveIndexes(indexes_);
    return make<IfChainStep>(std::move(clauses), elseBlock, usesMemo);
}

PlanStep const * PlanLowering::logical(LogicalOperatorExpression const & node) {
    AetNodeBase const & op = *node.operatorList()->entry();
    LogicalStep::Kind kind = LogicalStep::Kind::sequential;
    if (as<AndOperator>(op) != nullptr) {
        kind = LogicalStep::Kind::and_;
    } else if (as<OrOperator>(op) != nullptr) {
        kind = LogicalStep::Kind::or_;
    }
    StepList operands;
    for (auto const * link = node.expressionList().get(); link != nullptr;
         link = link->next().get()) {
        operands.push_back(expression(*link->entry()));
    }
    return make<LogicalStep>(kind, std::move(operands));
}

PlanStep const * PlanLowering::assignment(IntAssign const & node) {
    auto const * const constant = as<IntImmediate>(*node.rhs());
    if (constant == nullptr) {
        return nullptr;
    }
    U64 const value = assigned(*node.lhs(), {constant->negative(), constant->value()});
    return make<IntStoreStep>(*node.lhs(), value);
}

template <typename Node>
PlanStep const * PlanLowering::arithmetic(Node const & node,
                                          IntArithmeticStep::Arithmetic arithmetic) {
    auto const * const constant = as<IntImmediate>(*node.rhs());
    if (constant == nullptr) {
        return nullptr;
    }
    SignedMagnitude const operand{constant->negative(), constant->value()};
    return make<IntArithmeticStep>(*node.lhs(), operand, arithmetic);
}

template <typename Set, typename Immediate, typename Node>
PlanStep const * PlanLowering::setEdit(Node const & node,
                                       typename SetEditStep<Set, Node>::Edit edit, bool adds) {
    auto const * const set = constantSet<Immediate>(*node.rhs());
    bool const few = set != nullptr && set->count() <= fewValues;
    return few ? make<SetEditStep<Set, Node>>(node, set, edit, adds ? set : nullptr) : nullptr;
}

PlanStep const * PlanLowering::change(Expression const & node) {
    if (auto const * const n = as<IntAssign>(node)) {
        return assignment(*n);
    }
    if (auto const * const n = as<IntPlusEq>(node)) {
        return arithmetic(*n, added);
    }
    if (auto const * const n = as<IntMinusEq>(node)) {
        return arithmetic(*n, subtracted);
    }
    if (auto const * const n = as<IntMultEq>(node)) {
        return arithmetic(*n, multiplied);
    }
    if (auto const * const n = as<IntSetAddImmediate>(node)) {
        return setEdit<U64SmallVector, IntSetImmediate>(*n, addInPlace<U64SmallVector>, true);
    }
    if (auto const * const n = as<IntSetRemoveImmediate>(node)) {
        return setEdit<U64SmallVector, IntSetImmediate>(*n, removeInPlace<U64SmallVector>, false);
    }
    if (auto const * const n = as<CommunitySetAddImmediate>(node)) {
        return setEdit<CommunitySmallVector, CommunitySetImmediate>(
            *n, addInPlace<CommunitySmallVector>, true);
    }
    if (auto const * const n = as<CommunitySetRemoveImmediate>(node)) {
        return setEdit<CommunitySmallVector, CommunitySetImmediate>(
            *n, removeInPlace<CommunitySmallVector>, false);
    }
    return nullptr;
}

template <typename Compare, typename Node>
PlanStep const * PlanLowering::intComparison(Node const & node) {
    auto const * const constant = as<IntImmediate>(*node.rhs());
    // Against a negative constant the answer does not depend on the left side, which is still read.
    if (constant == nullptr || (constant->negative() && constant->value() != 0)) {
        return nullptr;
    }
    U8 const slot = sharing_ != nullptr ? sharing_->slotOf(*node.lhs()) : PlanInt::notShared;
    return make<IntCompareStep<Compare>>(PlanInt(*node.lhs(), slot), constant->value());
}

PlanStep const * PlanLowering::comparison(Expression const & node) {
    if (sharing_ != nullptr) {
        if (auto step = sharing_->indexed(node)) {
            return keep(std::move(step));
        }
    }
    if (auto const * const n = as<IntIs>(node)) {
        return intComparison<std::equal_to<U64>>(*n);
    }
    if (auto const * const n = as<IntLessThan>(node)) {
        return intComparison<std::less<U64>>(*n);
    }
    if (auto const * const n = as<IntLessThanEq>(node)) {
        return intComparison<std::less_equal<U64>>(*n);
    }
    if (auto const * const n = as<IntGreaterThan>(node)) {
        return intComparison<std::greater<U64>>(*n);
    }
    if (auto const * const n = as<IntGreaterThanEq>(node)) {
        return intComparison<std::greater_equal<U64>>(*n);
    }
    if (auto const * const n = as<IntInImmediateSet>(node)) {
        if (auto const * const set = constantSet<IntSetImmediate>(*n->rhs())) {
            U8 const slot = sharing_ != nullptr ? sharing_->slotOf(*n->lhs()) : PlanInt::notShared;
            return make<IntInSetStep>(PlanInt(*n->lhs(), slot), *set);
        }
    }
    return nullptr;
}

template <typename Set, typename Immediate, typename Node>
PlanStep const * PlanLowering::constantSetTest(Node const & node,
                                               typename SetTestStep<Set>::Test test) {
    auto const * const set = constantSet<Immediate>(*node.rhs());
    return set == nullptr ? nullptr : make<SetTestStep<Set>>(*node.lhs(), set, test);
}

PlanStep const * PlanLowering::setTest(Expression const & node) {
    if (auto const * const n = as<IntSetHasAnyImmediate>(node)) {
        return constantSetTest<U64SmallVector, IntSetImmediate>(*n, U64SmallVector::hasAny);
    }
    if (auto const * const n = as<CommunitySetHasAnyImmediate>(node)) {
        return constantSetTest<CommunitySmallVector, CommunitySetImmediate>(
            *n, CommunitySmallVector::hasAny);
    }
    return nullptr;
}

} // namespace Qcf::Eval
