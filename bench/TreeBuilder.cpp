#include "bench/TreeBuilder.h"

namespace Qcf::Bench {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

template <typename Values, typename Visit>
void eachFromLast(Values const & values, Visit const & visit) {
    for (auto at = values.end(); at != values.begin();) {
        visit(*--at);
    }
}

} // namespace

PtrConst<Int> TreeBuilder::integer(U64 value) { return make(intImmediateFactory, value, false); }

PtrConst<IntSet> TreeBuilder::set(std::span<U64 const> values) {
    Ptr<IntLinkedList> head;
    eachFromLast(values, [&](U64 const value) {
        head = make(intLinkedListFactory, integer(value), std::move(head));
    });
    auto const node = make(intSetImmediateFactory, PtrConst<IntLinkedList>(head), true);
    cacheConstantValue(*node);
    return node;
}

PtrConst<CommunitySet> TreeBuilder::set(std::span<Acl::CommunityValue const> values) {
    Ptr<CommunityLinkedList> head;
    eachFromLast(values, [&](Acl::CommunityValue const & value) {
        head = make(communityLinkedListFactory, make(communityValueImmediateFactory, value),
                    std::move(head));
    });
    auto const node = make(communitySetImmediateFactory, PtrConst<CommunityLinkedList>(head), true);
    cacheConstantValue(*node);
    return node;
}

PtrConst<PrefixList> TreeBuilder::prefixList(String const & name) {
    auto & slots = metadata_.V4PrefixListsUsed;
    U16 const slot = slots.try_emplace(name, static_cast<U16>(slots.size() + 1)).first->second;
    return make(prefixListImmediateFactory, name, slot, true);
}

TreeBuilder::ExpressionPtr TreeBuilder::allOf(Statements const & operands) {
    PtrConst<ExpressionList> list;
    PtrConst<LogicalOperatorList> operators;
    eachFromLast(operands, [&](auto const & operand) {
        list = make(expressionListFactory, operand, std::move(list));
    });
    for (std::size_t i = 1; i < operands.size(); ++i) {
        operators =
            make(logicalOperatorListFactory, make(andOperatorFactory), std::move(operators));
    }
    return make(logicalOperatorExpressionFactory, list, operators);
}

PtrConst<Block> TreeBuilder::block(Statements const & statements) {
    PtrConst<ExpressionList> list;
    eachFromLast(statements, [&](auto const & statement) {
        list = make(expressionListFactory, statement, std::move(list));
    });
    return make(blockFactory, list);
}

TreeBuilder::ExpressionPtr TreeBuilder::ifElse(ExpressionPtr condition,
                                               Statements const & thenStatements,
                                               PtrConst<Expression> otherwise) {
    return make(ifExpressionFactory, std::move(condition), block(thenStatements),
                std::move(otherwise));
}

TreeBuilder::ExpressionPtr TreeBuilder::returns(bool accept) {
    auto const value = make(triStateBoolImmediateFactory, accept ? QcfTrue() : QcfFalse());
    return make(returnExpressionFactory,
                PtrConst<Expression>(make(triStateBoolExpressionFactory, value)));
}

TreeBuilder::ExpressionPtr TreeBuilder::call(PtrConst<Function> const & callee,
                                             std::vector<PtrConst<StorageType>> const & arguments) {
    PtrConst<FunctionArgumentList> list;
    eachFromLast(arguments, [&](auto const & argument) {
        list = make(functionArgumentListFactory, argument, std::move(list));
    });
    return make(functionCallExpressionFactory, callee->funcName(), callee, list, ++calls_);
}

PtrConst<Function> TreeBuilder::function(String name, bool argumentsExpected,
                                         Statements const & statements) {
    auto body = block(statements);
    return make(functionFactory, std::move(name), metadata_, Routing::Policy::RouteMapFeatures{},
                AccessibleAttributes{}, argumentsExpected, PtrConst<Block>(std::move(body)));
}

} // namespace Qcf::Bench
