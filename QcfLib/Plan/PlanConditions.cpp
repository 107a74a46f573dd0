#include "QcfLib/Plan/OperatorSteps.h"
#include "QcfLib/Plan/PlanLowering.h"

#include <utility>

/// Tests against constants, and the chains that join tests.
namespace Qcf::Eval {

namespace {

/// Which values of an operand of `and`, `or` or `??` decide: those that end the chain, and all of
/// the last one.
Decided decidedByOperand(Decided const & decided, bool isAnd, bool isOr, bool isLast) {
    auto const & [onUnknown, onFalse, onTrue] = decided;
    if (isLast) {
        return {isAnd || isOr ? onFalse : onUnknown, onFalse, onTrue};
    }
    std::optional<EvalResult> const goesOn;
    return {isAnd ? onFalse : goesOn, isOr ? goesOn : onFalse, isAnd ? goesOn : onTrue};
}

} // namespace

// Each operand goes straight to where the whole chain goes once it is decided.
PlanStep const * PlanLowering::chain(LogicalOperatorExpression const & node,
                                     PlanTargets const & targets) {
    PlanBudget::Level const level(budget_);
    if (!affords(budget_.lengthOf(node.expressionList().get(), nextLink))) {
        return nullptr;
    }
    LogicalOperator const & op = *node.operatorList()->entry();
    bool const isAnd = is<AndOperator>(op);
    bool const isOr = is<OrOperator>(op);
    // What follows the last operand, unless it decided: `and` and `or` have no unknown value.
    PlanStep const * const undecided = isAnd || isOr ? targets.onFalse : targets.onUnknown;
    PlanTargets last{undecided, targets.onFalse, targets.onTrue};
    PlanStep const * next = undecided;
    bool isLast = true;
    for (Operands const & operands : operandsFromLast(node, isOr)) {
        PlanCounting::Deciding const deciding(counting_, [&](Decided const & decided) {
            return decidedByOperand(decided, isAnd, isOr, isLast);
        });
        isLast = false;
        next = operands.nodes.size() == 1 ? condition(*operands.nodes.front(), last)
                                          : test(operands.nodes, *operands.test, last);
        last = {isAnd ? targets.onFalse : next, isOr ? next : targets.onFalse,
                isAnd ? next : targets.onTrue};
    }
    return next;
}

std::vector<PlanLowering::Operands>
PlanLowering::operandsFromLast(LogicalOperatorExpression const & node, bool isOr) {
    std::vector<Operands> all;
    for (auto const * const link : fromLast(node.expressionList().get())) {
        Operands one{{link->entry().get()}, {}};
        if (isOr) {
            one.test = constantTestOf(*link->entry());
        }
        if (all.empty() || !joins(all.back(), one)) {
            all.push_back(std::move(one));
        }
    }
    return all;
}

bool PlanLowering::joins(Operands & operands, Operands const & one) {
    using Kind = ConstantTest::Kind;
    bool const both = operands.test && one.test && operands.test->kind == Kind::prefixCovered &&
                      one.test->kind == Kind::prefixCovered &&
                      identityOf(*operands.test->operand) == identityOf(*one.test->operand);
    if (!both) {
        return false;
    }
    // The first one has taken nothing so far.
    std::size_t const taken =
        one.test->size() + (operands.nodes.size() == 1 ? operands.test->size() : 0);
    if (taken > budget_.roomForConstants) {
        return false;
    }
    budget_.roomForConstants -= taken;
    operands.nodes.insert(operands.nodes.begin(), one.nodes.begin(), one.nodes.end());
    auto & prefixes = operands.test->prefixes;
    prefixes.insert(prefixes.end(), one.test->prefixes.begin(), one.test->prefixes.end());
    return true;
}

PlanStep const * PlanLowering::test(PlanSteps::Nodes node, ConstantTest const & test,
                                    PlanTargets const & targets) {
    using Kind = ConstantTest::Kind;
    switch (test.kind) {
    case Kind::intBounds: {
        PlanInt const operand(static_cast<Int const &>(*test.operand));
        return test.bounds.low == test.bounds.high
                   ? make<IntEqualTest>(node, operand, test.bounds.low, targets)
                   : make<IntBoundsTest>(node, operand, test.bounds, targets);
    }
    case Kind::intInSet:
        return make<IntInSetTest>(node, PlanInt(static_cast<Int const &>(*test.operand)),
                                  *test.ints, targets);
    case Kind::intInRanges:
        // They are put into a table of their own.
        if (test.size() > budget_.roomForConstants) {
            return nullptr;
        }
        budget_.roomForConstants -= test.size();
        return make<IntRangesTest>(node, PlanInt(static_cast<Int const &>(*test.operand)),
                                   test.ranges, targets);
    case Kind::prefixCovered:
        return make<PrefixCoveredTest>(
            node, PlanPrefix(static_cast<IpPrefix const &>(*test.operand)), test.prefixes, targets);
    case Kind::setHasAny:
        return make<SetHasAnyTest<U64SmallVector>>(
            node, PlanSet<U64SmallVector>(static_cast<IntSet const &>(*test.operand)), test.ints,
            targets);
    case Kind::communitySetHasAny:
        return make<SetHasAnyTest<CommunitySmallVector>>(
            node, PlanSet<CommunitySmallVector>(static_cast<CommunitySet const &>(*test.operand)),
            test.communities, targets);
    }
    return nullptr;
}

} // namespace Qcf::Eval
