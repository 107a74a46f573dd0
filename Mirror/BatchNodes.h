#pragma once

#include "Documents/KeyTable.h"
#include "Mirror/ChangeBatch.h"
#include "QcfLib/QcfLib.h"

#include <unordered_map>

namespace Qcf::Mirror {

/// Writes the nodes of one batch, children first: members of a store, and with them the nodes that
/// they or the functions hold although the store does not.
///
///     BatchNodes nodes(writer, store, members);
///     nodes.write();
///     nodes.function("import", *function);
///
/// Each node is written once, whoever refers to it. Used once, by one thread, while the store does
/// not change.
class BatchNodes {
public:
    using Node = Eval::AetNodeBase;

    /// `members`: those that the batch brings; readers have the store's others. Null for no store.
    /// Throws MirrorError when one of them cannot be published.
    BatchNodes(BatchWriter & writer, AetCollections const * store,
               std::vector<Node const *> members);

    /// Writes the members, by their keys as far as children allow.
    void write();
    /// Writes the name, and before it what only the function holds. Throws as the constructor does.
    void function(String const & name, Eval::FunctionBase const & function);

private:
    /// Whether readers have the node, or get it as a member.
    bool isMember(Node const & node) const { return store_ != nullptr && store_->holds(node); }
    /// Where the node stands among those that the batch brings; nothing when it is none of them.
    std::optional<std::size_t> positionOf(Node const & node) const;
    /// Writes what is new under a node, and the node.
    void writeTree(Node const & root);
    /// Whether the node is to be written and was not yet; notes that it is.
    bool enter(Node const & node);
    void writeNode(Node const & node);
    /// What stands for a node that was written or that readers have.
    NodeReference referenceTo(Node const & node) const;

    BatchWriter & writer_;
    AetCollections const * store_;
    std::vector<Node const *> members_; ///< by key
    std::vector<bool> written_;         ///< for each of them
    Documents::KeyTable positions_;     ///< in members_, by key; the first where keys are equal
    std::unordered_map<Node const *, U64> loose_; ///< numbers of nodes that are no members
    U64 looseCount_ = 0;                          ///< of them, written
    /// How fields are written: children by `referenceTo`.
    WireStyle style_;
};

} // namespace Qcf::Mirror
