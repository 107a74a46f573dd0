#pragma once

#include "QcfLib/AetNode.h"

#include <unordered_map>
#include <vector>

namespace Qcf::Mirror {

/// Whether equal nodes of the class are one in a store: values are not logged, so that their keys
/// do not matter. Links of lists go with their lists.
bool isSharedValue(Eval::AetNodeBase const & node);

/// In how many places each node under a status's names is held: by names, and by fields of nodes
/// that are in use. Kept while functions come and go, it tells which nodes nobody uses any more,
/// and which values are there, at a cost in proportion to what comes and goes.
///
/// Nodes are named by their addresses: whoever takes one out of use tells before it is let go of.
class StoreUse {
public:
    using Node = Eval::AetNodeBase;

    /// One name more means it; with the first place all below it is in use.
    void add(Node const & root);
    /// One name less means it, of those that were told. What is in use no more is put behind
    /// `unused`, parents first.
    void drop(Node const & root, std::vector<Node const *> & unused);
    bool isUsed(Node const & node) const { return places_.contains(&node); }
    /// Whether a name means it, as far as was told.
    bool isNamed(Node const & node) const { return names_.contains(&node); }
    /// Whether a node in use holds it, and not only names do.
    bool isHeld(Node const & node) const;
    /// A value in use that says the same; null for none.
    Node const * equalValue(Node const & node) const;
    /// Nothing is in use.
    void clear();

private:
    void valueDel(Node const & node);

    std::unordered_map<Node const *, U32> places_; ///< names and fields
    std::unordered_map<Node const *, U32> names_;
    std::unordered_multimap<U32, Node const *> values_; ///< in use, by hash
};

} // namespace Qcf::Mirror
