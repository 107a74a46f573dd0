#include "Documents/NodeBuilder.h"

#include "Documents/NodeChecks.h"
#include "Documents/NodeContent.h"
#include "Documents/Program.h"

#include <boost/container/small_vector.hpp>

/// The order in which a node is taken in is fixed by what needs what: content needs the children's
/// structures, facts the children's facts, checks the facts, and a kept value needs all checks
/// passed.
namespace Qcf::Documents {

using Eval::FieldInfo;

U64 NodeBuilder::nextKey(Place const & place) const {
    U64 const largest = std::max(table_.largestKey(), largestUnread_);
    if (largest == ~U64{0}) {
        place.fail("", "key above 18446744073709551615", "none that is larger");
    }
    return largest + 1;
}

U64 NodeBuilder::freeKey(Place const & place, U64 key) const {
    if (find(key)) {
        place.fail("", "key of its own", "key " + std::to_string(key) + " again");
    }
    return key;
}

U32 NodeBuilder::structureOf(Node const & node, FactsOfChildren children) {
    content_.clear();
    appendContent(node, children, content_);
    return structures_.numberOf(content_);
}

// A called function's names are its own.
U32 NodeBuilder::namesOf(Node const & node, std::span<U32 const> children, U32 own) {
    U32 names = own;
    auto child = children.begin();
    for (FieldInfo const & field : node.typeData().fields) {
        if (field.isNode()) {
            U32 const number = *child++;
            bool const isCallee = plays(field, Eval::FieldRole::callee);
            names = names_.join(names, number == none || isCallee ? 0 : table_.facts(number).names);
        }
    }
    return names;
}

U32 NodeBuilder::add(Place const & place, Ptr<Node> const & node, std::span<U32 const> children,
                     bool keyGiven, U32 names) {
    boost::container::small_vector<NodeFacts const *, 4> theirs;
    for (U32 const child : children) {
        theirs.push_back(child == none ? nullptr : &table_.facts(child));
    }
    FactsOfChildren const factsOfChildren(theirs.data(), theirs.size());
    bool const shared = node->typeData().facts.isShared;
    U32 const structure = shared ? structureOf(*node, factsOfChildren) : 0;
    // The first node of its content stands for all that come later. One with a key of its own
    // stays, because somebody may refer to it.
    bool const known =
        structure != 0 && structure <= firstOf_.size() && firstOf_[structure - 1] != none;
    if (known && !keyGiven) {
        U32 const first = firstOf_[structure - 1];
        place.note(*table_.node(first));
        return first;
    }
    NodeFacts facts = Documents::factsOf(*node, factsOfChildren);
    facts.structure = structure;
    facts.names = namesOf(*node, children, names);
    checkNode(place, *node, factsOfChildren, facts, table_);
    if (!factsOfChildren.empty() && factsOfChildren[0] != nullptr) {
        keepConstant(place, *node, *factsOfChildren[0]);
    }

    U32 const number = table_.add(node, facts);
    place.note(*node);
    if (shared && !known) {
        // A content whose node was refused has a number and no node: reading may go on behind it.
        firstOf_.resize(std::max<std::size_t>(firstOf_.size(), structure), none);
        firstOf_[structure - 1] = number;
    }
    return number;
}

// Depth counts levels alone: links of a chain stand side by side, and may be millions.
void NodeBuilder::checkDepth(Place const & place, Eval::NodeClass const & nodeClass,
                             std::span<U32 const> children) const {
    U32 below = 0;
    for (U32 const child : children) {
        below = std::max(below, child == none ? 0 : table_.node(child)->treeDepth());
    }
    U32 const own = nodeClass.effects.isLevel ? 1 : 0;
    if (below + own > Eval::maximumTreeDepth) {
        place.fail(nodeClass.name,
                   "tree of at most " + std::to_string(Eval::maximumTreeDepth) + " levels",
                   "a deeper one");
    }
}

// A literal that says it is cachable although an element is no constant is built at each
// evaluation.
void NodeBuilder::keepConstant(Place const & place, Node const & node, NodeFacts const & elements) {
    auto const keep = node.typeData().facts.keepConstant;
    if (keep == nullptr || !elements.constant || elements.length == 0) {
        return;
    }
    constantElements_ += elements.length;
    // Kept values are memory that the document's size does not show: elements that are shared count
    // again in each literal that has them.
    if (constantElements_ > ProgramLimits::constantElements) {
        place.fail(node.typeData().name,
                   "at most " + std::to_string(ProgramLimits::constantElements) +
                       " elements in the document's constant lists and sets",
                   "more");
    }
    keep(node);
}

} // namespace Qcf::Documents
