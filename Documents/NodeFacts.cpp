#include "Documents/NodeFacts.h"

#include "Documents/FieldVisitors.h"
#include "QcfLib/QcfEval.h"

/// Facts are worked out once a node from those of its children, which were there before it. So a
/// document costs one step a node, however large the trees are that its sharing unfolds to.
namespace Qcf::Documents {

using Eval::AetNodeBase;
using Eval::ArgumentKind;
using Eval::ClassFacts;
using Eval::FieldInfo;
using Eval::FieldRole;
using Eval::Function;

bool ArgumentNeeds::any() const {
    return integers != 0 || bandwidths != 0 || triStateBools != 0 || prefixLists != 0 || nodes;
}

// The largest index counts and not the sum: two reads of one argument need it once.
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
            if (plays(field, FieldRole::argumentIndex)) {
                index = value;
            }
        }
    }
    void writeNode(FieldInfo const & /*field*/, AetNodeBase const * /*child*/) override {}

    U8 index = 0;
};

/// Arguments stand in a container a type, so that each type is counted for itself. References need
/// no count: only built-in functions read them, which say what they want.
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

NodeFacts ownFacts(AetNodeBase const & node) {
    ClassFacts const & ofClass = node.typeData().facts;
    bool const isAttribute = node.typeData().attribute != nullptr;
    NodeFacts facts;
    facts.reads = ofClass.reads;
    // An attribute is written only as a target, which its parent knows.
    facts.writes = isAttribute ? 0 : ofClass.writes;
    // A link begins as constant, and stays so as long as its entries are; of no elements all are.
    facts.constant = ofClass.isConstant || ofClass.isLink;
    // A function clears a return of its body, but refuses by one where its arguments are missing.
    auto const * const function = Eval::as<Function>(node);
    facts.returns = function != nullptr ? function->argumentsExpected() : ofClass.returns;
    facts.length = ofClass.isLink ? 1 : 0;
    facts.needs.integers = ofClass.integerArguments;
    facts.needs.nodes = ofClass.readsNodeArguments;
    // Built-in functions read the first ones, as 32 bits each.
    facts.needs.narrowIntegers = (U64{1} << ofClass.integerArguments) - 1;
    if (readsArgument(node)) {
        facts.onFrame = true;
        // An index of 0 needs one argument.
        addArgument(facts.needs, ofClass.argument, argumentIndexOf(node) + 1);
    }
    return facts;
}

/// What a child that belongs to the same function adds. Reads are left to the caller: those of a
/// target count only for some classes.
void addContent(NodeFacts & facts, NodeFacts const & child) {
    facts.writes |= child.writes;
    facts.needs.add(child.needs);
    facts.onFrame = facts.onFrame || child.onFrame;
    facts.dumpable = facts.dumpable && child.dumpable;
}

} // namespace

// Classes of arguments have no base in common that knows the index; their fields do.
U8 argumentIndexOf(AetNodeBase const & node) {
    IndexVisitor visitor;
    node.typeData().write(node, visitor);
    return visitor.index;
}

bool readsArgument(AetNodeBase const & node) {
    return node.typeData().fieldOf(FieldRole::argumentIndex) != nullptr;
}

NodeFacts factsOf(AetNodeBase const & node, std::span<NodeFacts const * const> children) {
    ClassFacts const & ofClass = node.typeData().facts;
    NodeFacts facts = ownFacts(node);
    auto child = children.begin();
    node.typeData().visitChildren(node, [&](FieldInfo const & field, AetNodeBase const * target) {
        NodeFacts const * const their = *child++;
        if (their == nullptr) {
            return;
        }
        // A called function adds its size too: evaluation walks into it.
        facts.size = saturatingSum(facts.size, their->size);
        bool const isChain = plays(field, FieldRole::next) || plays(field, FieldRole::elements);
        // Links have 1 of their own, literals nothing: their length is that of the chain.
        facts.length += isChain ? their->length : 0;
        if (plays(field, FieldRole::callee)) {
            return; // the callee reads its own frame, and what it uses is its own
        }
        // A chain is constant as far as all that it carries is.
        facts.constant = facts.constant && (their->constant || !ofClass.isLink);
        facts.returns = facts.returns || (their->returns && plays(field, FieldRole::branch));
        addContent(facts, *their);
        // What is replaced unread is not read: a document's declared attributes follow from this.
        bool const isTarget = plays(field, FieldRole::target);
        facts.reads |= isTarget && ofClass.assigns ? 0 : their->reads;
        facts.writes |= isTarget ? target->typeData().facts.writes : 0;
    });
    return facts;
}

} // namespace Qcf::Documents
