#pragma once

#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"
#include "QcfLib/QcfEval.h"

#include <initializer_list>
#include <span>

namespace Qcf::Bench {

/// Makes the nodes of a tree: keys rise in the order of making, attribute nodes are shared.
class TreeBuilder {
public:
    using ExpressionPtr = PtrConst<Eval::Expression>;
    using Statements = std::vector<ExpressionPtr>;

    /// A node of any kind by its creator, `make(medFactory)` or `make(intAssignFactory, med,
    /// value)`.
    template <typename Factory, typename... Fields>
    auto make(Factory factory, Fields &&... fields) {
        return factory(++key_, std::forward<Fields>(fields)...);
    }

    PtrConst<Eval::Int> integer(U64 value);
    PtrConst<Eval::IntSet> set(std::span<U64 const> values);
    PtrConst<Eval::CommunitySet> set(std::span<Acl::CommunityValue const> values);
    PtrConst<Eval::PrefixList> prefixList(String const & name);
    ExpressionPtr allOf(Statements const & operands);
    PtrConst<Eval::Block> block(Statements const & statements);
    ExpressionPtr ifElse(ExpressionPtr condition, Statements const & thenStatements,
                         PtrConst<Eval::Expression> otherwise = nullptr);
    ExpressionPtr returns(bool accept);
    ExpressionPtr call(PtrConst<Eval::Function> const & callee,
                       std::vector<PtrConst<Eval::StorageType>> const & arguments);
    /// To be called when all nodes of the body are made: it declares the prefix lists named so far.
    PtrConst<Eval::Function> function(String name, bool argumentsExpected,
                                      Statements const & statements);

    /// Slots of the prefix lists named so far, counted from 1.
    SlotMap const & prefixLists() const { return metadata_.V4PrefixListsUsed; }

private:
    U64 key_ = 0;
    U32 calls_ = 0;
    FunctionMetadata metadata_;
};

} // namespace Qcf::Bench
