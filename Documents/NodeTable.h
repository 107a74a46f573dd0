#pragma once

#include "Documents/KeyTable.h"
#include "Documents/NodeFacts.h"

#include <vector>

namespace Qcf::Documents {

/// The nodes of a document that were taken in so far, children before parents, each with what is
/// known of it. They have numbers from 0 on in that order, and are found by number or by key.
///
/// Holds the nodes counted, until they are taken out. Used by one thread at a time.
///
///     U32 const number = table.add(node, facts);
///     table.factsOf(*call->calleePtr()).needs; // what the callee reads of its arguments
class NodeTable {
public:
    using Node = Eval::AetNodeBase;

    /// Takes in a node, whose key must be new. Answers its number.
    U32 add(PtrConst<Node> const & node, NodeFacts const & facts) {
        auto const number = static_cast<U32>(nodes_.size());
        keys_.insert(node->aetNodeKey(), number);
        nodes_.push_back(node);
        facts_.push_back(facts);
        return number;
    }

    /// The number of the node under that key; nothing when there is none.
    std::optional<U32> find(U64 key) const { return keys_.find(key); }
    /// The largest key so far; 0 for none.
    U64 largestKey() const { return keys_.largest(); }

    // The number must be that of a node; the reference holds until the next one is taken in.
    PtrConst<Node> const & node(U32 number) const { return nodes_[number]; }
    NodeFacts const & facts(U32 number) const { return facts_[number]; }
    /// What is known of a node that must be one of these.
    NodeFacts const & factsOf(Node const & node) const { return facts_[*find(node.aetNodeKey())]; }

    /// All nodes in the order of their numbers. The table is of no use afterwards.
    std::vector<PtrConst<Node>> takeNodes() { return std::move(nodes_); }

private:
    /// Numbers by key.
    KeyTable keys_;
    // Both by number, side by side.
    std::vector<PtrConst<Node>> nodes_;
    std::vector<NodeFacts> facts_;
};

} // namespace Qcf::Documents
