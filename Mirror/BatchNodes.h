#pragma once

#include "Documents/KeyTable.h"
#include "Mirror/ChangeBatch.h"
#include "QcfLib/QcfLib.h"

#include <unordered_map>

namespace Qcf::Mirror {

/// Writes the nodes of one batch, children first: members of a store, and with them the nodes that
/// they or the functions hold although the store does not.
class BatchNodes {
public:
    using Node = Eval::AetNodeBase;

    /// `members`: those that the batch brings; readers have the store's others. Null for no store.
    /// Throws MirrorError when one of them cannot be published.
    BatchNodes(BatchWriter & writer, AetCollections const * store,
               std::vector<Node const *> members);

    void write();
    /// Writes the name, and before it what only the function holds. Throws as the constructor does.
    void function(String const & name, Eval::FunctionBase const & function);

private:
    bool isMember(Node const & node) const { return store_ != nullptr && store_->holds(node); }
    std::optional<std::size_t> positionOf(Node const & node) const;
    void writeTree(Node const & root);
    bool enter(Node const & node);
    void writeNode(Node const & node);
    NodeReference referenceTo(Node const & node) const;

    BatchWriter & writer_;
    AetCollections const * store_;
    std::vector<Node const *> members_; ///< by key
    std::vector<bool> written_;         ///< for each of them
    Documents::KeyTable positions_;     ///< in members_, by key; the first where keys are equal
    std::unordered_map<Node const *, U64> loose_; ///< numbers of nodes that are no members
    U64 looseCount_ = 0;                          ///< of them, written
    WireStyle style_;
};

} // namespace Qcf::Mirror
