#include "Documents/NodeFacts.h"

#include "Documents/FieldVisitors.h"
#include "QcfLib/QcfEval.h"

#include <string_view>

namespace Qcf::Documents {

using Eval::AetNodeBase;
using Eval::FieldInfo;
using Eval::NodeClass;

bool ArgumentNeeds::any() const {
    return integers != 0 || bandwidths != 0 || triStateBools != 0 || prefixLists != 0 || nodes;
}

void ArgumentNeeds::add(ArgumentNeeds const & other) {
    integers = std::max(integers, other.integers);
    bandwidths = std::max(bandwidths, other.bandwidths);
    triStateBools = std::max(triStateBools, other.triStateBools);
    prefixLists = std::max(prefixLists, other.prefixLists);
    nodes = nodes || other.nodes;
    narrowIntegers |= other.narrowIntegers;
}

namespace {

/// Takes the one field that says where an argument stands.
class IndexVisitor final : public FieldVisitor<IndexVisitor> {
public:
    template <typename T>
    void visit(FieldInfo const & field, T const & value) {
        if constexpr (std::is_same_v<T, U8>) {
            if (std::string_view(field.name) == "argVectorIndex") {
                index = value;
            }
        }
    }
    void writeNode(FieldInfo const & /*field*/, AetNodeBase const * /*child*/) override {}

    U8 index = 0;
};

void addArgument(ArgumentNeeds & needs, ArgumentKind kind, U16 count) {
    ArgumentNeeds own;
    switch (kind) {
    case ArgumentKind::integer:
        own.integers = count;
        break;
    case ArgumentKind::bandwidth:
        own.bandwidths = count;
        break;
    case ArgumentKind::triStateBool:
        own.triStateBools = count;
        break;
    case ArgumentKind::prefixList:
        own.prefixLists = count;
        break;
    case ArgumentKind::node:
    case ArgumentKind::none:
        break;
    }
    needs.add(own);
}

NodeFacts ownFacts(AetNodeBase const & node, ClassRules const & rules) {
    NodeFacts facts;
    facts.reads = rules.reads;
    facts.writes = node.typeData().attribute == nullptr ? rules.writes : 0;
    facts.constant = rules.constant || rules.link;
    // A function clears a return of its body, but refuses by one where its arguments are missing.
    auto const * const function = dynamic_cast<Eval::Function const *>(&node);
    facts.returns = function != nullptr ? function->argumentsExpected() : rules.returns;
    facts.onFrame = rules.variable;
    facts.length = rules.link ? 1 : 0;
    facts.needs.integers = rules.integers;
    facts.needs.nodes = rules.nodeArguments;
    facts.needs.narrowIntegers = (U64{1} << rules.integers) - 1;
    if (rules.variable) {
        addArgument(facts.needs, rules.argument, argumentIndexOf(node) + 1);
    }
    return facts;
}

/// What a child that belongs to the same function adds.
void addContent(NodeFacts & facts, NodeFacts const & child) {
    facts.writes |= child.writes;
    facts.needs.add(child.needs);
    facts.onFrame = facts.onFrame || child.onFrame;
    facts.dumpable = facts.dumpable && child.dumpable;
}

} // namespace

U8 argumentIndexOf(AetNodeBase const & node) {
    IndexVisitor visitor;
    node.typeData().write(node, visitor);
    return visitor.index;
}

NodeFacts factsOf(AetNodeBase const & node, std::span<NodeFacts const * const> children) {
    NodeClass const & nodeClass = node.typeData();
    ClassRules const & rules = ClassRules::of(nodeClass);
    NodeFacts facts = ownFacts(node, rules);
    auto child = children.begin();
    node.typeData().visitChildren(node, [&](FieldInfo const & field, AetNodeBase const * target) {
        NodeFacts const * const their = *child++;
        if (their == nullptr) {
            return;
        }
        std::string_view const name = field.name;
        // A called function adds its size too: evaluation walks into it.
        facts.size = saturatingSum(facts.size, their->size);
        facts.length += name == "next" || name == "head" ? their->length : 0;
        if (name == "calleePtr") {
            return; // the callee reads its own frame, and what it uses is its own
        }
        if (rules.link) {
            facts.constant = facts.constant && their->constant;
        }
        facts.returns = facts.returns || (their->returns && passesReturn(field));
        addContent(facts, *their);
        bool const written = wantsModifiable(field);
        facts.reads |= written && rules.writesOnly ? 0 : their->reads;
        facts.writes |= written ? ClassRules::of(target->typeData()).writes : 0;
    });
    return facts;
}

} // namespace Qcf::Documents
