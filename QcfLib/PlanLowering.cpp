#include "QcfLib/PlanLowering.h"

#include "QcfLib/PlanNodes.h"

#include <algorithm>
#include <functional>

namespace Qcf::Eval {

namespace {

/// The links of a list, last first.
template <typename Link>
std::vector<Link const *> fromLast(Link const * link) {
    std::vector<Link const *> links;
    for (; link != nullptr; link = link->next().get()) {
        links.push_back(link);
    }
    std::reverse(links.begin(), links.end());
    return links;
}

TriStateBoolImmediate const * constantOf(Expression const & node) {
    auto const * const predicate = as<TriStateBoolExpression>(node);
    return predicate == nullptr ? nullptr : as<TriStateBoolImmediate>(*predicate->expr());
}

} // namespace

PlanStep const * PlanLowering::block(Block const & block, PlanStep const * next) {
    // Changes of one set attribute that stand together, last first.
    std::vector<SetChange<U64SmallVector>> changes;
    auto const makeChanges = [&] {
        if (!changes.empty()) {
            std::reverse(changes.begin(), changes.end());
            next = make<SetEditStep<U64SmallVector>>(changes, next);
            changes.clear();
        }
    };
    for (auto const * const link : fromLast(block.stmts().get())) {
        auto const change = setChangeOf<U64SmallVector>(*link->entry());
        if (!changes.empty() &&
            (!change || identity(*change->target) != identity(*changes.front().target))) {
            makeChanges();
        }
        if (change) {
            changes.push_back(*change);
        } else {
            next = statement(*link->entry(), next);
        }
    }
    makeChanges();
    return next;
}

PlanStep const * PlanLowering::statement(Expression const & node, PlanStep const * next) {
    if (auto const * const n = as<Block>(node)) {
        return block(*n, next);
    }
    if (auto const * const n = as<IfExpression>(node)) {
        return ifChain(*n, next);
    }
    if (auto const * const n = as<ReturnExpression>(node)) {
        return termination(*n->expr(), TerminationFlag::returnToCaller);
    }
    if (auto const * const n = as<ExitExpression>(node)) {
        return termination(*n->expr(), TerminationFlag::exitToPoa);
    }
    PlanStep const * const step = change(node, next);
    return step != nullptr ? step : make<NodeStatement>(node, next);
}

PlanStep const * PlanLowering::termination(Expression const & operand, TerminationFlag flag) {
    if (auto const * const constant = constantOf(operand)) {
        return endOfRun(EvalResult(constant->value(), flag));
    }
    return condition(operand, {endOfRun(EvalResult(QcfUnknown(), flag)),
                               endOfRun(EvalResult(QcfFalse(), flag)),
                               endOfRun(EvalResult(QcfTrue(), flag))});
}

PlanStep const * PlanLowering::ifChain(IfExpression const & head, PlanStep const * next) {
    std::vector<IfExpression const *> links;
    std::vector<Expression const *> conditions;
    for (IfExpression const * link = &head; link != nullptr;
         link = link->elseBlock() ? as<IfExpression>(*link->elseBlock()) : nullptr) {
        links.push_back(link);
        conditions.push_back(link->condition().get());
    }
    ChainSharing sharing(conditions);
    auto const & otherwise = links.back()->elseBlock();
    PlanStep const * step = otherwise ? statement(*otherwise, next) : next;
    for (std::size_t end = links.size(); end > 0;) {
        std::size_t const count = sharing.caseBefore(conditions, end);
        std::vector<PlanStep const *> blocks;
        for (std::size_t i = end - count; i < end; ++i) {
            blocks.push_back(block(*links[i]->thenBlock(), next));
        }
        end -= count;
        if (count > 1) {
            auto const & first = *sharing.placeOf(*conditions[end]);
            step = make<IndexedCase>(*first.index, first.slot, first.test, std::move(blocks), step);
            continue;
        }
        sharing_ = &sharing; // only conditions: a block may change what they read
        step = condition(*conditions[end], {step, step, blocks.front()});
        sharing_ = nullptr;
    }
    bool const forgets = sharing.any();
    sharing.moveIndexes(indexes_);
    return forgets ? make<ForgetStep>(step) : step;
}

PlanStep const * PlanLowering::assignment(IntAssign const & node, PlanStep const * next) {
    auto const * const constant = as<IntImmediate>(*node.rhs());
    if (constant == nullptr || node.lhs()->source().stored == nullptr) {
        return nullptr;
    }
    U64 const value = assigned(node.lhs()->range(), {constant->negative(), constant->value()});
    return make<IntStoreStep>(node.lhs()->source(), value, next);
}

template <typename Node>
PlanStep const * PlanLowering::arithmetic(Node const & node,
                                          IntArithmeticStep::Arithmetic arithmetic,
                                          PlanStep const * next) {
    auto const * const constant = as<IntImmediate>(*node.rhs());
    if (constant == nullptr || node.lhs()->source().stored == nullptr) {
        return nullptr;
    }
    SignedMagnitude const operand{constant->negative(), constant->value()};
    return make<IntArithmeticStep>(*node.lhs(), operand, arithmetic, next);
}

PlanStep const * PlanLowering::change(Expression const & node, PlanStep const * next) {
    if (auto const * const n = as<IntAssign>(node)) {
        return assignment(*n, next);
    }
    if (auto const * const n = as<IntPlusEq>(node)) {
        return arithmetic(*n, added, next);
    }
    if (auto const * const n = as<IntMinusEq>(node)) {
        return arithmetic(*n, subtracted, next);
    }
    if (auto const * const n = as<IntMultEq>(node)) {
        return arithmetic(*n, multiplied, next);
    }
    if (auto const change = setChangeOf<CommunitySmallVector>(node)) {
        return make<SetEditStep<CommunitySmallVector>>(std::vector{*change}, next);
    }
    return nullptr;
}

PlanStep const * PlanLowering::condition(Expression const & node, PlanTargets const & targets) {
    if (auto const * const constant = constantOf(node)) {
        return targets.at(constant->value());
    }
    if (auto const * const n = as<NotExpression>(node)) {
        return condition(*n->expr(), {targets.onTrue, targets.onTrue, targets.onFalse});
    }
    if (auto const * const n = as<LogicalOperatorExpression>(node)) {
        return logical(*n, targets);
    }
    auto const * const place = sharing_ != nullptr ? sharing_->placeOf(node) : nullptr;
    if (place != nullptr) {
        return make<IndexedTest>(*place->index, place->slot, place->test, targets);
    }
    auto const * const prefixMatch = as<IpPrefixMatchPrefixList>(node);
    if (prefixMatch != nullptr && prefixMatch->lhs()->source() != nullptr) {
        return make<PrefixListTest>(*prefixMatch, targets);
    }
    for (auto const lower : {&PlanLowering::intTest, &PlanLowering::setTest}) {
        if (PlanStep const * const step = (this->*lower)(node, targets)) {
            return step;
        }
    }
    return make<NodeTest>(node, targets);
}

PlanStep const * PlanLowering::logical(LogicalOperatorExpression const & node,
                                       PlanTargets const & targets) {
    LogicalOperator const & op = *node.operatorList()->entry();
    bool const isAnd = as<AndOperator>(op) != nullptr;
    bool const isOr = as<OrOperator>(op) != nullptr;
    // What follows the last operand, unless it decided: `and` and `or` have no unknown value.
    PlanStep const * const undecided = isAnd || isOr ? targets.onFalse : targets.onUnknown;
    PlanTargets last{undecided, targets.onFalse, targets.onTrue};
    PlanStep const * next = undecided;
    for (auto const * const link : fromLast(node.expressionList().get())) {
        next = condition(*link->entry(), last);
        last = {isAnd ? targets.onFalse : next, isOr ? next : targets.onFalse,
                isAnd ? next : targets.onTrue};
    }
    return next;
}

template <template <typename> typename Step, typename... Arguments>
PlanStep const * PlanLowering::withOperand(Int const & operand, Arguments const &... arguments) {
    U8 const slot = sharing_ != nullptr ? sharing_->slotOf(operand) : ChainSharing::notShared;
    if (slot == ChainSharing::notShared) {
        return make<Step<PlanInt>>(PlanInt(operand), arguments...);
    }
    return make<Step<SharedInt>>(SharedInt(operand, slot), arguments...);
}

namespace {

template <typename Compare>
struct Comparing {
    template <typename Operand>
    using Step = IntTest<Compare, Operand>;
};

} // namespace

template <typename Compare, typename Node>
PlanStep const * PlanLowering::comparison(Node const & node, PlanTargets const & targets) {
    auto const * const constant = as<IntImmediate>(*node.rhs());
    // Against a negative constant the answer does not depend on the left side, which is still read.
    if (constant == nullptr || (constant->negative() && constant->value() != 0)) {
        return nullptr;
    }
    return withOperand<Comparing<Compare>::template Step>(*node.lhs(), constant->value(), targets);
}

PlanStep const * PlanLowering::intTest(Expression const & node, PlanTargets const & targets) {
    if (auto const * const n = as<IntIs>(node)) {
        return comparison<std::equal_to<U64>>(*n, targets);
    }
    if (auto const * const n = as<IntLessThan>(node)) {
        return comparison<std::less<U64>>(*n, targets);
    }
    if (auto const * const n = as<IntLessThanEq>(node)) {
        return comparison<std::less_equal<U64>>(*n, targets);
    }
    if (auto const * const n = as<IntGreaterThan>(node)) {
        return comparison<std::greater<U64>>(*n, targets);
    }
    if (auto const * const n = as<IntGreaterThanEq>(node)) {
        return comparison<std::greater_equal<U64>>(*n, targets);
    }
    if (auto const * const n = as<IntInImmediateSet>(node)) {
        auto const * const set = constantSet<IntSetImmediate>(*n->rhs());
        return set == nullptr ? nullptr : withOperand<IntInSetTest>(*n->lhs(), *set, targets);
    }
    return nullptr;
}

template <typename Set, typename Immediate, bool test(Set const *, Set const *), typename Node>
PlanStep const * PlanLowering::constantTest(Node const * node, PlanTargets const & targets) {
    auto const * const set = node == nullptr ? nullptr : constantSet<Immediate>(*node->rhs());
    return set == nullptr ? nullptr
                          : make<SetTest<Set, test>>(PlanSet<Set>(*node->lhs()), set, targets);
}

PlanStep const * PlanLowering::setTest(Expression const & node, PlanTargets const & targets) {
    using Ints = U64SmallVector;
    using Communities = CommunitySmallVector;
    if (auto const * const step = constantTest<Ints, IntSetImmediate, setHasAny<Ints>>(
            as<IntSetHasAnyImmediate>(node), targets)) {
        return step;
    }
    return constantTest<Communities, CommunitySetImmediate, setHasAny<Communities>>(
        as<CommunitySetHasAnyImmediate>(node), targets);
}

} // namespace Qcf::Eval
