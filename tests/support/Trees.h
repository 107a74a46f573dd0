#pragma once

#include "QcfLib/ClientPlugin/QcfEvalAttributeTypes.h"
#include "QcfLib/QcfEval.h"

#include <vector>

/// Short ways to build trees in tests. Keys rise with every node, children before parents.
namespace Qcf::Eval::test {

inline U64 nextKey() {
    static U64 key = 0;
    return ++key;
}

/// A new node of the class with the next key.
template <typename Node, typename... Fields>
Ptr<Node> make(Fields &&... fields) {
    return makePtr<Node>(nextKey(), std::forward<Fields>(fields)...);
}

template <typename Link, typename Entry>
Ptr<Link> chain(std::vector<Entry> const & entries) {
    Ptr<Link> head;
    for (std::size_t i = entries.size(); i-- > 0;) {
        head = makePtr<Link>(nextKey(), entries[i], std::move(head));
    }
    return head;
}

using Expressions = std::vector<PtrConst<Expression>>;

inline PtrConst<Block> block(Expressions const & statements) {
    return make<Block>(chain<ExpressionList>(statements));
}
inline Ptr<Function> function(Expressions const & statements, bool argumentsExpected = false,
                              String name = "f") {
    auto body = block(statements);
    return make<Function>(std::move(name), FunctionMetadata{}, Routing::Policy::RouteMapFeatures{},
                          AccessibleAttributes{}, argumentsExpected, std::move(body));
}
inline PtrConst<Expression> logical(char const * op, Expressions const & operands) {
    std::vector<PtrConst<LogicalOperator>> operators;
    for (std::size_t i = 1; i < std::max<std::size_t>(operands.size(), 2); ++i) {
        PtrConst<LogicalOperator> node;
        if (String(op) == "and") {
            node = make<AndOperator>();
        } else if (String(op) == "or") {
            node = make<OrOperator>();
        } else {
            node = make<SequentialOperator>();
        }
        operators.push_back(node);
    }
    return make<LogicalOperatorExpression>(chain<ExpressionList>(operands),
                                           chain<LogicalOperatorList>(operators));
}

inline PtrConst<Expression> always(TriStateBoolValue value) {
    return make<TriStateBoolExpression>(make<TriStateBoolImmediate>(value));
}
inline PtrConst<Expression> returns(PtrConst<Expression> operand) {
    return make<ReturnExpression>(std::move(operand));
}
inline PtrConst<Expression> accepts() { return returns(always(QcfTrue())); }

inline PtrConst<Int> number(U64 magnitude, bool negative = false) {
    return make<IntImmediate>(magnitude, negative);
}
inline PtrConst<IntLinkedList> numbers(std::vector<U64> const & values) {
    std::vector<PtrConst<Int>> entries;
    for (U64 const value : values) {
        entries.push_back(number(value));
    }
    return chain<IntLinkedList>(entries);
}
/// A constant set; `cached` stores its value as the builder of a tree does.
inline PtrConst<IntSetImmediate> intSet(std::vector<U64> const & values, bool cached = true) {
    auto node = make<IntSetImmediate>(numbers(values), cached);
    cacheConstantValue(*node);
    return node;
}
inline PtrConst<IntListImmediate> intList(std::vector<U64> const & values, bool cached = true) {
    auto node = make<IntListImmediate>(numbers(values), cached);
    cacheConstantValue(*node);
    return node;
}
inline PtrConst<CommunitySetImmediate> communitySet(std::vector<Acl::CommunityValue> const & values,
                                                    bool cached = true) {
    std::vector<PtrConst<CommunityValue>> entries;
    for (auto const & value : values) {
        entries.push_back(make<CommunityValueImmediate>(value));
    }
    auto node = make<CommunitySetImmediate>(chain<CommunityLinkedList>(entries), cached);
    cacheConstantValue(*node);
    return node;
}
inline PtrConst<FunctionArgumentList> arguments(std::vector<PtrConst<StorageType>> const & values) {
    return chain<FunctionArgumentList>(values);
}
inline PtrConst<Expression> call(PtrConst<Function> callee,
                                 std::vector<PtrConst<StorageType>> const & values = {}) {
    auto list = arguments(values);
    String name = callee->funcName();
    return make<FunctionCallExpression>(std::move(name), std::move(callee), std::move(list), 0U);
}

/// A set as the engine holds one.
template <typename Set>
Ptr<Set> setOf(std::vector<typename Set::Value> const & values,
               ModifyFlag flag = ModifyFlag::copyOnWrite) {
    auto set = makePtr<Set>(flag);
    for (auto const & value : values) {
        set->insert(value);
    }
    return set;
}

/// Keys and results of a log chain, "3:true 7:false/returnToCaller", calls in brackets.
inline String logText(Debug::EvaluationLog const * record) {
    String text;
    for (; record != nullptr; record = record->nextLog().get()) {
        text += (text.empty() ? "" : " ") + std::to_string(record->aetNodeKey()) + ":" +
                toString(record->result().retVal());
        if (record->result().terminates()) {
            text += String("/") + toString(record->result().termination());
        }
        if (auto const * callee =
                static_cast<Debug::EvaluationLog const *>(record->functionCallLog().get())) {
            text += "[" + logText(callee) + "]";
        }
    }
    return text;
}

/// "true", "unknown/exitToPoa".
inline String textOf(EvalResult const & result) {
    String text = toString(result.retVal());
    return result.terminates() ? text + "/" + toString(result.termination()) : text;
}

/// A node whose result a test dictates, and which counts how often it was evaluated.
class Scripted final : public Expression {
public:
    Scripted(U64 aetNodeKey, EvalResult result, bool sane = true)
        : Expression(aetNodeKey), result_(result), sane_(sane) {}

    EvalResult eval(Ptr<EvalContextBase> const & /*context*/) const override {
        ++evaluations;
        return result_;
    }
    NodeClass const & typeData() const override {
        static NodeClass const scripted = [] {
            NodeClass data;
            data.name = "Scripted";
            data.nameSpace = "Qcf::Eval::test";
            data.base = "Expression";
            data.visitChildren = [](AetNodeBase const &, NodeClass::ChildVisitor const &) {};
            return data;
        }();
        return scripted;
    }
    bool compare(PtrConst<AetNodeBase> const & other) const override { return other == this; }
    U32 hash(U32 seed) const override { return seed; }
    void dumpState(PtrConst<DumpContext> const & dumpContext, U32 indent) const override {
        indent != 0 ? dumpContext->print("%*c%s", static_cast<int>(indent), ' ', name.c_str())
                    : dumpContext->print("%s", name.c_str());
    }
    bool verifySanity(FunctionMetadata const & /*metadata*/) const override {
        ++checks;
        return sane_;
    }

    String name = "x";
    mutable U32 evaluations = 0;
    mutable U32 checks = 0;

private:
    EvalResult result_;
    bool sane_;
};

inline Ptr<Scripted> scripted(TriStateBoolValue value,
                              TerminationFlag flag = TerminationFlag::noTermination) {
    return make<Scripted>(EvalResult(value, flag));
}

} // namespace Qcf::Eval::test
